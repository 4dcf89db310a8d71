#include "mapping/description.h"

#include "base/error.h"
#include "model/schema.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace yfw {

namespace {

constexpr auto services = std::to_array<std::pair<Service, std::string_view>>({
    {Service::callback, "callback"},
    {Service::toplevel, "toplevel"},
    {Service::protocol_list, "protocol-list"},
    {Service::protocol, "protocol"},
    {Service::select, "select"},
    {Service::copy, "copy"},
    {Service::convert, "convert"},
    {Service::convert_to, "convert-to"},
    {Service::companion, "companion"},
    {Service::key, "key"},
});

using Context = std::unique_ptr<ly_ctx, decltype(&ly_ctx_destroy)>;
using Data = std::unique_ptr<lyd_node, decltype(&lyd_free_all)>;

[[noreturn]] void fail(const std::filesystem::path &file, const ly_ctx *context) {
    const char *message = context == nullptr ? nullptr : ly_errmsg(context);
    const char *path = context == nullptr ? nullptr : ly_errpath(context);
    throw Unusable("the mapping description " + file.string() +
                   " cannot be used: " + (message == nullptr ? "libyang cannot be set up" : message) +
                   (path == nullptr ? std::string() : std::string(" (") + path + ')'));
}

std::string read_text(const std::filesystem::path &description, const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    const bool is_directory = std::filesystem::is_directory(file);
    if (!stream || is_directory) {
        const std::string reason = std::generic_category().message(is_directory ? EISDIR : errno);
        throw Unusable("the mapping description " + description.string() + " cannot be used: " +
                       (file == description ? "" : file.string() + ", which must lie beside it: ") + reason);
    }
    return std::move(text).str();
}

MappingEntry read_entry(const lyd_node *node) {
    MappingEntry entry;
    const lyd_node *leaf = nullptr;
    LY_LIST_FOR(lyd_child(node), leaf) {
        const std::string_view name = leaf->schema->name;
        const std::string value = lyd_get_value(leaf);
        if (name == "path") {
            entry.path = value;
        } else if (name == "served") {
            entry.served = std::find_if(services.begin(), services.end(), [&](const auto &row) {
                               return row.second == value;
                           })->first;
        } else if (name == "name") {
            entry.name = value;
        } else if (name == "candidate") {
            entry.candidates.push_back(value);
        } else if (name == "target") {
            entry.target = value;
        } else if (name == "hands-on-to") {
            entry.hands_on_to = value;
        } else if (name == "may-write-nothing") {
            entry.may_write_nothing = value == "true";
        } else if (name == "taken-with") {
            entry.taken_with = value;
        } else if (name == "fetches") {
            entry.fetches.push_back(value);
        } else if (name == "kept-in") {
            entry.kept_in = value;
        } else if (name == "unset-value") {
            entry.unset_value = value;
        } else if (name == "unset-deletes") {
            entry.unset_deletes = value == "true";
        } else if (name == "one-value") {
            entry.one_value = value == "true";
        } else if (name == "hint") {
            entry.hint = value;
        } else if (name == "maps-nothing") {
            entry.maps_nothing = value == "true";
        } else if (name == "covered") {
            entry.covered = value == "true";
        } else if (name == "may-be-absent") {
            entry.may_be_absent = value == "true";
        }
    }
    return entry;
}

MappingWhen read_when(const lyd_node *node) {
    MappingWhen when;
    const lyd_node *leaf = nullptr;
    LY_LIST_FOR(lyd_child(node), leaf) {
        (std::string_view(leaf->schema->name) == "path" ? when.path : when.name) = lyd_get_value(leaf);
    }
    return when;
}

MappingHelper read_helper(const lyd_node *node) {
    MappingHelper helper;
    const lyd_node *leaf = nullptr;
    LY_LIST_FOR(lyd_child(node), leaf) {
        (std::string_view(leaf->schema->name) == "name" ? helper.name : helper.reason) = lyd_get_value(leaf);
    }
    return helper;
}

MappingNote read_note(const lyd_node *node) {
    MappingNote note;
    const lyd_node *leaf = nullptr;
    LY_LIST_FOR(lyd_child(node), leaf) {
        if (std::string_view(leaf->schema->name) == "text") {
            note.text = lyd_get_value(leaf);
        } else {
            note.paths.emplace_back(lyd_get_value(leaf));
        }
    }
    return note;
}

MappingAdvice read_advice(const lyd_node *node) {
    MappingAdvice advice;
    const lyd_node *leaf = nullptr;
    LY_LIST_FOR(lyd_child(node), leaf) {
        (std::string_view(leaf->schema->name) == "text" ? advice.text : advice.hint) = lyd_get_value(leaf);
    }
    return advice;
}

} // namespace

std::string MappingDescription::hint(std::string_view reason) const {
    const auto found = std::find_if(advice.begin(), advice.end(), [reason](const MappingAdvice &row) {
        return reason.find(row.text) != std::string_view::npos;
    });
    return found == advice.end() ? std::string() : found->hint;
}

const char *service_name(Service service) {
    return services.at(static_cast<std::size_t>(service)).second.data();
}

MappingDescription read_mapping(const std::filesystem::path &file) {
    keep_libyang_quiet();
    const std::string text = read_text(file, file);
    const auto module = file.parent_path() / "yfw-mapping.yang";
    const std::string yang = read_text(file, module);
    ly_ctx *created = nullptr;
    if (ly_ctx_new(nullptr, LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIRS, &created) != LY_SUCCESS) {
        fail(file, nullptr);
    }
    const Context context(created, &ly_ctx_destroy);
    if (lys_parse_mem(created, yang.c_str(), LYS_IN_YANG, nullptr) != LY_SUCCESS) {
        fail(file, created);
    }
    lyd_node *parsed = nullptr;
    const LY_ERR status =
        lyd_parse_data_mem(created, text.c_str(), LYD_JSON, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &parsed);
    const Data data(parsed, &lyd_free_all);
    if (status != LY_SUCCESS) {
        fail(file, created);
    }
    if (parsed == nullptr || lyd_child(parsed) == nullptr) {
        throw Unusable("the mapping description " + file.string() +
                       " cannot be used: it has no entry in \"yfw-mapping:mapping\"");
    }
    MappingDescription description;
    const lyd_node *node = nullptr;
    LY_LIST_FOR(lyd_child(parsed), node) {
        const std::string_view name = node->schema->name;
        if (name == "entry") {
            description.entries.push_back(read_entry(node));
        } else if (name == "when") {
            description.conditions.push_back(read_when(node));
        } else if (name == "helper") {
            description.helpers.push_back(read_helper(node));
        } else if (name == "note") {
            description.notes.push_back(read_note(node));
        } else if (name == "advice") {
            description.advice.push_back(read_advice(node));
        } else {
            description.revision = lyd_get_value(node);
        }
    }
    return description;
}

} // namespace yfw
