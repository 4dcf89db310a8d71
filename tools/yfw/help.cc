#include "help.h"

#include <algorithm>
#include <iterator>

namespace yfw::tool {

namespace {

using Kind = HelpBlock::Kind;

constexpr HelpBlock yfw_description[] = {
    {Kind::text, "",
     "An OpenConfig document goes in; the native configuration that it becomes is checked, kept in a store and "
     "printed. What is stored can be read as OpenConfig or native, compared, and taken back. Results go to standard "
     "output, everything else to standard error."},
    {Kind::text, "",
     "The global options may stand before or behind the command. \"yfw COMMAND --help\", or the manual page "
     "yfw-COMMAND, tells of a command."},
};
constexpr HelpBlock yfw_examples[] = {
    {Kind::example, "What a document becomes, without keeping it (core.json is shown by yfw edit --help):",
     "yfw edit --dry-run core.json"},
    {Kind::example,
     "Keep it in a store of its own, and read that back:", "yfw --db lab edit core.json && yfw --db lab get"},
};

constexpr HelpBlock edit_description[] = {
    {Kind::text, "",
     "Each file is one transaction: it is committed as a whole, or refused and changes nothing. Printed is the native "
     "edit, with its operations. Nodes that are not mapped are left out and listed; under --strict they refuse the "
     "edit. Members and identities may stand without the names of their modules where the models leave no doubt."},
};
constexpr HelpBlock edit_json[] = {
    {Kind::text, "",
     "A node's operation is the metadata ietf-netconf:operation (RFC 7952): create, merge, replace, delete or remove. "
     "A container or a list entry has it in a member \"@\"; a leaf in a member \"@NAME\" beside it, where the leaf "
     "itself may be missing or null. The values of a leaf-list have theirs in an array \"@NAME\", one for each, null "
     "for none. What has no operation of its own takes that of the node around it, and the topmost "
     "--default-operation. delete and create refuse what is not there, or is there already; remove and merge do not."},
    {Kind::document, "core.json",
     R"({ "openconfig-network-instance:network-instances": { "network-instance": [ {
    "name": "DEFAULT",
    "protocols": { "protocol": [ {
      "identifier": "BGP", "name": "core",
      "bgp": {
        "global": { "config": { "as": 65000, "router-id": "192.0.2.1" } },
        "neighbors": { "neighbor": [ {
          "neighbor-address": "192.0.2.7",
          "config": { "peer-as": 65007, "description": "to the north" } } ] } } } ] } } ] } })"},
    {Kind::document, "delete.json",
     R"({ "openconfig-network-instance:network-instances": { "network-instance": [ {
    "name": "DEFAULT",
    "protocols": { "protocol": [ {
      "identifier": "BGP", "name": "core",
      "bgp": {
        "global": { "config": { "@router-id": { "ietf-netconf:operation": "delete" } } },
        "neighbors": { "neighbor": [ {
          "@": { "ietf-netconf:operation": "remove" },
          "neighbor-address": "192.0.2.7" } ] } } } ] } } ] } })"},
};
constexpr HelpBlock edit_xml[] = {
    {Kind::text, "",
     "The operation is the attribute operation of NETCONF's namespace (RFC 6241). The document's root is the "
     "OpenConfig element itself, or NETCONF's config or edit-config around it."},
    {Kind::document, "replace.xml",
     R"(<network-instances xmlns="http://openconfig.net/yang/network-instance"
    xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0">
  <network-instance>
    <name>DEFAULT</name>
    <protocols><protocol>
      <identifier>BGP</identifier><name>core</name>
      <bgp><global>
        <config nc:operation="replace"><as>65000</as><router-id>192.0.2.2</router-id></config>
      </global></bgp>
    </protocol></protocols>
  </network-instance>
</network-instances>)"},
};
constexpr HelpSection edit_sections[] = {{"Operations in JSON", edit_json}, {"Operations in XML", edit_xml}};
constexpr HelpBlock edit_examples[] = {
    {Kind::example, "Keep a document, with a comment for yfw log:", "yfw edit -m 'the first neighbour' core.json"},
    {Kind::example, "Replace what one container holds, and show what that changes:", "yfw edit --diff replace.xml"},
    {Kind::example, "Delete a leaf and a list entry, from standard input:", "yfw edit - < delete.json"},
    {Kind::example, "Try a document, and tell what is wrong or left out as JSON:",
     "yfw edit --dry-run --report json:report.json core.json"},
};

constexpr HelpBlock diff_description[] = {
    {Kind::text, "",
     "Of files it shows what they would change, all of them together, and changes nothing. Of numbers, as yfw log "
     "shows them, it shows what changed between the states after those commits. A file named like a number is ./5. "
     "Lines of what goes begin with \"-\", of what comes with \"+\"."},
};
constexpr HelpBlock diff_examples[] = {
    {Kind::example, "What an edit would change (replace.xml is shown by yfw edit --help):", "yfw diff replace.xml"},
    {Kind::example, "What the native configuration has had since before the first commit:", "yfw diff --native 0"},
    {Kind::example, "From one commit to another, for scripts:", "yfw diff -o json 0 1"},
};

constexpr HelpBlock log_description[] = {
    {Kind::text, "",
     "A line has the commit's number, its time, who made it and with what, and how many entries of native lists it "
     "added (+), changed (~) and removed (-). The last 1000 commits are kept, as long as they fit in 64 MB."},
};
constexpr HelpBlock log_examples[] = {
    {Kind::example, "The last ten commits:", "yfw log -n 10"},
};

constexpr HelpBlock rollback_description[] = {
    {Kind::text, "",
     "What came after the commit is undone by a new commit, which can be undone in the same way. The difference is "
     "printed."},
};
constexpr HelpBlock rollback_examples[] = {
    {Kind::example, "What going back to before the first commit would change:", "yfw rollback --dry-run 0"},
    {Kind::example, "Go back to the state after commit 1:", "yfw rollback -m 'as it was' 1"},
};

constexpr HelpBlock status_description[] = {
    {Kind::text, "",
     "Of the daemon: since when it is up, who has sessions and locks, the last commit, and one that waits to be "
     "confirmed. While a yfwd owns a store, edit, load and rollback hand their requests to it; what only reads goes to "
     "the store."},
};
constexpr HelpBlock status_examples[] = {
    {Kind::example, "Is the store served?", "yfw status || echo 'nobody serves it'"},
};

constexpr HelpBlock load_description[] = {
    {Kind::text, "",
     "The documents hold native configuration or operational data, as yfw get --native prints it. Each top-level node "
     "takes the place of what is stored under it. Passwords are enciphered under the store's key, or refused."},
};
constexpr HelpBlock load_examples[] = {
    {Kind::example, "Write the native configuration to a file, and put it back:",
     "yfw get --native > native.json && yfw load native.json"},
};

constexpr HelpBlock get_description[] = {
    {Kind::text, "",
     "Without a path it shows everything. Passwords are shown as asterisks, which no edit takes for a password. With "
     "--native the paths are those of the native configuration, or of operational data."},
};
constexpr HelpBlock get_examples[] = {
    {Kind::example, "An instance's BGP configuration:",
     "yfw get '/network-instances/network-instance[name=DEFAULT]/protocols/protocol[name=core]/bgp'"},
    {Kind::example, "All of the default network instance, state too, no deeper than four levels:",
     "yfw get --state --depth 4 '/network-instances/network-instance[name=DEFAULT]'"},
    {Kind::example,
     "The native configuration of an instance, as XML:", "yfw get --native -o xml '/bgp/instance[instance-name=core]'"},
};

constexpr HelpBlock sysdb_description[] = {
    {Kind::text, "",
     "These are the items that the plug-in looks up while it translates, made from the stored native configuration."},
};
constexpr HelpBlock sysdb_examples[] = {
    {Kind::example, "Everything about the instance core:", "yfw sysdb core/"},
    {Kind::example, "Which instances run, whatever their names and AS numbers:", "yfw sysdb '.*/.*/.*/gbl'"},
};

constexpr HelpBlock check_description[] = {
    {Kind::text, "",
     "Every page and record is looked at, the history too, and whether the key of the passwords is there. Nothing is "
     "changed. A store that is not whole is exit code 3."},
};
constexpr HelpBlock check_examples[] = {
    {Kind::example, "Before a copy is made:", "yfw check"},
};

constexpr HelpBlock export_description[] = {
    {Kind::text, "",
     "The file has the native configuration as JSON behind two lines that say what it is. Passwords in it are "
     "enciphered under a passphrase, which is asked for at a terminal."},
};
constexpr HelpBlock export_examples[] = {
    {Kind::example, "Everything but the passwords:", "yfw export --no-passwords > store.yfw"},
    {Kind::example, "With them; the file's first line is the passphrase:",
     "echo 'a long passphrase' > passphrase && yfw export --passphrase-file passphrase > store.yfw"},
};

constexpr HelpBlock import_description[] = {
    {Kind::text, "",
     "A store that holds a configuration takes the file's only with --replace. The import is one commit of yfw log."},
};
constexpr HelpBlock import_examples[] = {
    {Kind::example,
     "From one store into another:", "yfw export --no-passwords > store.yfw && yfw --db other import store.yfw"},
    {Kind::example,
     "In the place of what the store holds:", "yfw export --no-passwords | yfw import --replace -m 'as exported' -"},
};

constexpr HelpBlock map_description[] = {
    {Kind::text, "",
     "Of an OpenConfig node it shows what serves it and the native paths that it becomes; of a native one the "
     "OpenConfig nodes that it comes from. Without a path it shows all of the configuration."},
};
constexpr HelpBlock map_examples[] = {
    {Kind::example, "What the router id becomes:",
     "yfw map /network-instances/network-instance/protocols/protocol/bgp/global/config/router-id"},
    {Kind::example, "Where the native list of instances comes from:", "yfw map /bgp/instance/instance-name"},
    {Kind::example, "What is not mapped, as a YANG module:", "yfw map --deviations > deviations.yang"},
};

constexpr HelpRecord records[] = {
    {"", yfw_description, {}, yfw_examples},
    {"edit", edit_description, edit_sections, edit_examples},
    {"diff", diff_description, {}, diff_examples},
    {"log", log_description, {}, log_examples},
    {"rollback", rollback_description, {}, rollback_examples},
    {"status", status_description, {}, status_examples},
    {"load", load_description, {}, load_examples},
    {"get", get_description, {}, get_examples},
    {"sysdb", sysdb_description, {}, sysdb_examples},
    {"check", check_description, {}, check_examples},
    {"export", export_description, {}, export_examples},
    {"import", import_description, {}, import_examples},
    {"map", map_description, {}, map_examples},
};

constexpr HelpRow environment[] = {
    {"YFW_DB", "The store's directory, where --db does not name one.", ""},
    {"XDG_STATE_HOME, HOME",
     "Without either, the store is in yfw below $XDG_STATE_HOME, which is $HOME/.local/state where it is not set.", ""},
    {"NO_COLOR", "When it is set nothing is coloured, on a terminal neither.", ""},
    {"SUDO_USER", "Whom the history names for a commit that root makes.", " edit load import rollback "},
    {"TZ", "The time zone of the times.", " log "},
    {"TMPDIR",
     "Where a dry run without a store has an empty one, and submodules of --models are for a moment; /tmp by default.",
     ""},
};

constexpr HelpRow exit_codes[] = {
    {"0", "Done.", ""},
    {"1", "The request was refused; the path, the reason and the code are told.", ""},
    {"2", "Wrong usage, or a file that cannot be read.", ""},
    {"3",
     "The store, the plug-in, the mapping description or a model cannot be used, memory is short, or the output "
     "cannot be written.",
     ""},
    {"4", "Nothing is stored at a path that was asked for; what there is at the others was printed.", " get "},
    {"4", "No yfwd owns the store.", " status "},
};

} // namespace

const HelpRecord &help_of(std::string_view command) {
    static constexpr HelpRecord none{};
    const auto *found = std::find_if(std::begin(records), std::end(records),
                                     [command](const HelpRecord &record) { return record.command == command; });
    return found == std::end(records) ? none : *found;
}

std::span<const HelpRow> help_environment() {
    return environment;
}

std::span<const HelpRow> help_exit_codes() {
    return exit_codes;
}

} // namespace yfw::tool
