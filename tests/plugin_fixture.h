// The plug-in, called as the framework calls it, with a journal of what it does at the boundary. The two functions at
// the end stand before libyfw's: they write the journal and hand the call on.
#pragma once

#include "base/memory.h"
#include "boundary/request.h"
#include "bgp/items.h"
#include "boundary/system_database.h"
#include "mapping/plugin.h"
#include "store_fixture.h"
#include "vnos_platform.h"

#include <dlfcn.h>

#include <array>
#include <functional>
#include <optional>
#include <regex>
#include <set>
#include <utility>

namespace yfw::test {

using Tree = cidl_yfw_datatree;
using Callback = cerrno(yfw_map_ctx, const Tree *, Tree *);
using ProtocolCallback = cerrno(yfw_map_ctx, const Tree *, Tree *, char *, char *);
using ToplevelCallback = cerrno(yfw_map_ctx, const Tree *, unsigned, Tree *);
using Selection = cerrno(yfw_map_ctx, int, xpath_list_type_t *);

const std::string none_found = "TRC: Couldn't Find the VRF/AS in sysdb!\n";
const std::string wrong_as = "TRC: Wrong AS Number!\nerror path: Improper AS Number\n-> aaf2a000";
const std::string no_as = none_found +
                          "TRC: No AS number under the instance: core. First create the AS number and then edit "
                          "under BGP\nerror path: AS number NOT alreadycreated under instance\n-> aaf2a000";

inline void *find_exported(const std::string &name) {
    static const Plugin plugin(YFW_PLUGIN);
    static const cerrno bound = reinterpret_cast<cerrno (*)()>(plugin.find("yfw_bgpcfg_sysdb_init"))();
    void *found = bound == 0 ? plugin.find(name) : nullptr;
    return found != nullptr ? found : throw std::invalid_argument("not exported: " + name);
}

template <typename Function>
Function *exported(const std::string &name) {
    return reinterpret_cast<Function *>(find_exported(name));
}

// Long paths as the expectations write them.
inline std::string short_path(const std::string &path) {
    for (const auto &[letter, whole] : {std::pair("V", "/bgp/instance/instance-as/four-byte-as/vrfs/vrf"),
                                        {"F", "/bgp/instance/instance-as/four-byte-as"},
                                        {"I", "/bgp/instance"},
                                        {"R", "/vrfs/vrf/bgp-global/route-distinguisher"},
                                        {"B", "/ocni-bgp/network-instances/network-instance"},
                                        {"M", "/ocni-bpm/network-instances/network-instance"}}) {
        if (path.starts_with(whole)) {
            return letter + path.substr(std::strlen(whole));
        }
    }
    return path;
}

inline std::string operation_text(const Tree *node) {
    static const std::array names{"merge", "create", "replace", "delete", "remove"};
    const bool set = (node->flags & YFW_NODE_OP_SET) != 0;
    return set ? names.at(node->operation) : node->operation == YFW_OP_NONE ? "none" : "not marked as set";
}

inline std::string hex(cerrno code) {
    return (std::ostringstream() << std::hex << code).str();
}

// Adds, messages and error paths in their order. A Start and its End are counted, not kept.
class Journal {
  public:
    Log log{Log::Level::trace, true, nullptr};

    void note(const std::string &line) {
        static const std::regex form(R"(#\d+: (TRC|ERR)(: )\w+:\d+ (ctx=0x[0-9a-f]+,)([^]*))");
        for (; read_ < log.trace().size(); ++read_) {
            const std::string &trace = log.trace()[read_];
            EXPECT_EQ(log.debug_lines().at(read_), std::regex_replace(trace, form, "$1$2YFW: $3$4"));
            const std::string message = std::regex_replace(trace, form, "$1$2$4");
            const bool ends = message == "TRC: End" && open_ > 0;
            open_ += message == "TRC: Start" ? 1 : ends ? -1 : 0;
            lines_ += message == "TRC: Start" || ends ? "" : message + '\n';
        }
        lines_ += line;
    }
    std::string take() {
        note("");
        EXPECT_EQ(std::exchange(open_, 0), 0) << "callbacks without an End";
        return std::exchange(lines_, "");
    }

  private:
    std::string lines_;
    std::size_t read_ = 0;
    int open_ = 0;
};

inline Journal *journal = nullptr; // of the scene that is being played

// A system database in force: of instances by words "instance/as/as", and of VRFs by "instance/as/as/vrf".
class Database {
  public:
    explicit Database(const std::string &words) {
        static const std::regex form("([^/ ]+)/([^/ ]+)/([^/ ]+)(?:/([^/ ]+))?");
        std::string lines;
        for (std::sregex_iterator word(words.begin(), words.end(), form), end; word != end; ++word) {
            lines += word->format("/bgp/instance[instance-name=$1]/instance-as[as=$2]/four-byte-as[as=$3]");
            lines +=
                (*word)[4].matched ? word->format("/vrfs/vrf[vrf-name=$4]/vrf-global/exists=\n") : "/bgp-running=\n";
        }
        show(lines);
    }

  protected:
    struct Lines {
        std::string text;
    };
    explicit Database(const Lines &lines) { show(lines.text); }

  private:
    void show(const std::string &lines) {
        edit(store_, project_schema(), lines);
        guard_.emplace(view_.emplace(transaction_.emplace(store_.begin(Access::read)), bgp_items(project_schema())));
    }

    ScratchDirectory scratch_;
    Store store_{scratch_ / "db", project_schema(), Access::write};
    std::optional<Transaction> transaction_;
    std::optional<SystemDatabase> view_;
    std::optional<BoundSystemDatabase> guard_;
};

inline std::string network_instance(const std::string &name) {
    return "/network-instances/network-instance" + (name.empty() ? "" : "[name=" + name + ']');
}

inline std::string protocol(const std::string &vrf, const std::string &name = "core",
                            const std::string &identifier = "BGP") {
    return network_instance(vrf) + "/protocols/protocol" +
           (identifier.empty() ? "" : "[identifier=" + identifier + ']') + (name.empty() ? "" : "[name=" + name + ']');
}

// One request with all its logs on, which leaves no tagged memory behind.
class Scene {
    struct LeakCheck {
        std::int64_t before = memory::outstanding();
        ~LeakCheck() { EXPECT_EQ(memory::outstanding(), before); }
    };
    LeakCheck leak_check_;
    std::optional<Database> database_;
    Journal journal_;

  public:
    Request request;
    Tree *destination = request.destination();
    yfw_req_ctx &fields = request.fields();

    explicit Scene(std::uint32_t kind = YFW_KIND_EDIT, const std::string &stored = "")
        : request(project_schema(), kind, &journal_.log) {
        if (!stored.empty()) {
            database_.emplace(stored);
        }
        journal = &journal_;
    }
    ~Scene() { journal = nullptr; }

    Node *add(const std::string &line) { return add_line(request.arena(), request.source(), line); }
    Node *add_native(const std::string &line) { return add_line(request.arena(), request.destination(), line); }
    // Adds a line whose node is the one that is being mapped.
    Node *map(const std::string &line) {
        Node *const node = add(line);
        std::vector<Node *> levels;
        for (Node *level = node; level->up() != nullptr; level = level->up()) {
            levels.push_back(level);
        }
        while (request.current() != nullptr) {
            request.leave();
        }
        std::for_each(levels.rbegin(), levels.rend(), [this](Node *level) { request.enter(level); });
        return node;
    }

    // What the function did, a line each, and "-> " its code.
    template <typename Function, typename... Arguments>
    std::string run(const char *name, Arguments... arguments) {
        const cerrno code = exported<Function>(name)(&request, arguments...);
        return take() + "-> " + hex(code);
    }
    std::string take() { return journal_.take(); }
};

// Lines of cells between "|", the first line left out; a line that ends in "\\" goes on. In a cell "; " stands for a
// new line.
inline std::vector<std::vector<std::string>> table(const std::string &text) {
    static const std::regex edges("^ +| +$"), semicolon("; "), goes_on("\\\\\n *");
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(std::regex_replace(text, goes_on, " "));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream cells(line);
        std::vector<std::string> row;
        for (std::string cell; std::getline(cells, cell, '|');) {
            row.push_back(std::regex_replace(std::regex_replace(cell, edges, ""), semicolon, "\n"));
        }
        if (!row.empty()) {
            rows.push_back(row);
        }
    }
    return rows;
}

// A request of some lines, of which the last is mapped, on a stored configuration, and what comes of it.
struct Row {
    std::vector<std::string> request;
    std::string stored, expected;
    std::uint32_t kind = YFW_KIND_EDIT;
};

inline void play(const std::vector<Row> &rows, const std::function<std::string(Scene &, Node *)> &call) {
    for (const Row &row : rows) {
        SCOPED_TRACE(row.request.back() + " on " + row.stored + ", kind " + std::to_string(row.kind));
        Scene scene(row.kind, row.stored);
        std::for_each(row.request.begin(), row.request.end() - 1,
                      [&scene](const std::string &line) { scene.add(line); });
        EXPECT_EQ(call(scene, scene.map(row.request.back())), row.expected);
    }
}

} // namespace yfw::test

extern "C" {

__attribute__((used)) inline void yfw_oc_error_path(yfw_map_ctx ctx) {
    static const auto next = reinterpret_cast<decltype(&yfw_oc_error_path)>(dlsym(RTLD_NEXT, "yfw_oc_error_path"));
    if (yfw::test::journal != nullptr) {
        const char *text = ctx->req_ctx->error_text;
        yfw::test::journal->note((text == nullptr ? "error path" : std::string("error path: ") + text) + '\n');
    }
    next(ctx);
}

// "PATH{of a container}=value <operation of the source> fFLAGS @OTHER-MODULE !STATUS"
__attribute__((used)) inline cerrno
yfw_map_datatree_add_path_flagged(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path,
                                  const char *name_space, const char *value, const struct cidl_yfw_datatree *source,
                                  struct cidl_yfw_datatree **added, int container, uint32_t flags) {
    static const auto next = reinterpret_cast<decltype(&yfw_map_datatree_add_path_flagged)>(
        dlsym(RTLD_NEXT, "yfw_map_datatree_add_path_flagged"));
    const cerrno status = next(ctx, tree, path, name_space, value, source, added, container, flags);
    const std::string uri = name_space == nullptr ? "none" : name_space;
    std::string line =
        yfw::test::short_path(path) + (container == 1 ? "{}" : "") + (value == nullptr ? "" : std::string("=") + value);
    line += source == nullptr ? "" : " <" + yfw::test::operation_text(source) + ">";
    line += flags == 0 ? "" : " f" + std::to_string(flags);
    line += uri.ends_with("/Tarn-KEL-VN-ipv4-bgp-cfg")
                ? ""
                : " @" + uri.substr(uri.rfind(uri.find("PRIVATE-") == uri.npos ? "/" : "-ocni-") + 1);
    if (yfw::test::journal != nullptr) {
        yfw::test::journal->note(line + (status == 0 ? "" : " !" + yfw::test::hex(status)) + '\n');
    }
    return status;
}
}
