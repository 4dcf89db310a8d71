// The plug-in, called as the framework calls it, with a journal of what it asks of the boundary on the way. The
// functions at the end stand before libyfw's: they write the journal and hand the call on.
#pragma once

#include "mapping/plugin.h"
#include "platform/log.h"
#include "platform/memory.h"
#include "request/instance.h"
#include "request/request.h"
#include "store_fixture.h"
#include "sysdb/view.h"
#include "vnos_platform.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <optional>
#include <regex>
#include <utility>
#include <vector>

namespace yfw::test {

using Tree = cidl_yfw_datatree;
using Callback = cerrno(yfw_map_ctx, const Tree *, Tree *);
using ProtocolCallback = cerrno(yfw_map_ctx, const Tree *, Tree *, char *, char *);
using Selection = cerrno(yfw_map_ctx, int, xpath_list_type_t *);

inline const Plugin &plugin() {
    static const Plugin loaded(YFW_PLUGIN);
    static const bool bound = reinterpret_cast<cerrno (*)()>(loaded.find("yfw_bgpcfg_sysdb_init"))() == 0;
    EXPECT_TRUE(bound);
    return loaded;
}

template <typename Function>
Function *exported(const std::string &name, const Plugin &from = plugin()) {
    void *found = from.find(name);
    if (found == nullptr) {
        throw std::invalid_argument("not exported: " + name);
    }
    return reinterpret_cast<Function *>(found);
}

// Another image of the plug-in, with all its data as at the start.
class FreshPlugin {
  public:
    [[nodiscard]] const Plugin &get() const { return plugin_; }

  private:
    [[nodiscard]] fs::path copy() const {
        fs::copy_file(YFW_PLUGIN, scratch_ / "copy.so");
        return scratch_ / "copy.so";
    }
    ScratchDirectory scratch_;
    Plugin plugin_{copy()};
};

// Long paths as the expectations write them: I the instance, F its four-byte AS, V a VRF in it, R a route
// distinguisher.
inline std::string short_path(std::string path) {
    static const std::pair<std::string, std::string> shorts[] = {
        {"V", "/bgp/instance/instance-as/four-byte-as/vrfs/vrf"},
        {"F", "/bgp/instance/instance-as/four-byte-as"},
        {"I", "/bgp/instance"},
        {"R", "/vrfs/vrf/bgp-global/route-distinguisher"}};
    for (const auto &[letter, whole] : shorts) {
        if (path.starts_with(whole)) {
            return letter + path.substr(whole.size());
        }
    }
    return path;
}

inline std::string operation_text(const Tree *node) {
    static const char *const names[] = {"merge", "create", "replace", "delete", "remove"};
    const bool set = (node->flags & YFW_NODE_OP_SET) != 0;
    return set ? names[node->operation] : node->operation == YFW_OP_NONE ? "none" : "not marked as set";
}

inline std::string hex(cerrno code) {
    std::array<char, 12> text{};
    std::snprintf(text.data(), text.size(), "%x", code);
    return text.data();
}

struct Journal {
    std::string lines; // adds, messages and refusals, without Start and End
    std::vector<std::uint32_t> numbers;
    std::vector<std::string> open; // callbacks between their Start and End
    std::vector<std::string> expected_debug;
    std::vector<std::pair<const std::int32_t *, std::int32_t>> cells; // and what was in them

    void trace(std::uint64_t flags, const char *line) {
        static const std::regex form(R"(#(\d+): (TRC|ERR): (\w+):\d+ (ctx=0x[0-9a-f]+),([^]*))");
        EXPECT_EQ(flags, 0x10101000000U);
        std::cmatch part;
        if (!std::regex_match(line, part, form)) {
            ADD_FAILURE() << line;
            return;
        }
        const std::string name = part[3];
        const std::string text = part[5];
        numbers.push_back(static_cast<std::uint32_t>(std::stoul(part[1])));
        expected_debug.push_back(part[2].str() + ": YFW: " + part[4].str() + ',' + text);
        EXPECT_TRUE(open.empty() || text == "Start" || open.back() == name) << line;
        if (text == "Start") {
            open.push_back(name);
        } else if (text == "End" && !open.empty()) {
            open.pop_back();
        } else {
            lines += part[2].str() + ": " + text + '\n';
        }
    }
};

inline Journal *journal = nullptr; // of the scene that is being played

// "PATH{operation}=value" below a root; an operation stands behind the whole path. Returns the last node.
inline Node *add_request_line(Arena &arena, Node *root, const std::string &line) {
    static const std::map<std::string, std::uint32_t> operations{{"merge", YFW_OP_NONE},
                                                                 {"create", YFW_OP_CREATE},
                                                                 {"replace", YFW_OP_REPLACE},
                                                                 {"delete", YFW_OP_DELETE},
                                                                 {"remove", YFW_OP_REMOVE}};
    static const std::regex form(R"(((?:[^\[{=]|\[[^\]]*\])+)(?:\{(\w+)\})?(=)?([^]*))");
    std::smatch part;
    Node *node = std::regex_match(line, part, form) ? ensure_instance(arena, root, part[1].str()) : nullptr;
    if (node == nullptr) {
        throw std::invalid_argument("no such node: " + line);
    }
    if (part[2].matched) {
        node->set_operation(operations.at(part[2]));
    }
    if (part[3].matched) {
        set_value(arena, node, part[4].str());
    }
    return node;
}

// A native configuration, by words "instance/as/as" and "instance/as/as/vrf", and its system database in force.
class Database {
  public:
    explicit Database(const std::string &words) {
        std::istringstream stream(words);
        std::string lines;
        for (std::string word; stream >> word;) {
            std::array<std::string, 4> part;
            std::istringstream parts(word);
            for (std::string &text : part) {
                std::getline(parts, text, '/');
            }
            const std::string four_byte_as = "/bgp/instance[instance-name=" + part[0] + "]/instance-as[as=" + part[1] +
                                             "]/four-byte-as[as=" + part[2] + "]";
            lines += four_byte_as + "/bgp-running=\n";
            lines += part[3].empty() ? "" : four_byte_as + "/vrfs/vrf[vrf-name=" + part[3] + "]/vrf-global/exists=\n";
        }
        edit(store_, project_schema(), lines);
        transaction_.emplace(store_.begin(Access::read));
        view_.emplace(*transaction_, project_schema());
        guard_.emplace(*view_);
    }

  private:
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

// One request with all its logs on. When it ends nothing of it is left.
class Scene {
  public:
    explicit Scene(std::uint32_t kind = YFW_KIND_EDIT, const std::string &stored = "")
        : request(project_schema(), kind, &log) {
        if (!stored.empty()) {
            database_.emplace(stored);
        }
        journal = &journal_;
    }
    ~Scene() { journal = nullptr; }
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    Node *add(const std::string &line) { return add_request_line(request.arena(), request.source(), line); }
    Node *add_native(const std::string &line) { return add_request_line(request.arena(), request.destination(), line); }
    // Makes the node the one that is being mapped.
    Node *enter(const std::string &line) {
        Node *node = add(line);
        std::vector<Node *> levels;
        for (Node *level = node; level->up() != nullptr; level = level->up()) {
            levels.insert(levels.begin(), level);
        }
        request.fields().path_depth = 0;
        for (Node *level : levels) {
            request.enter(level);
        }
        return node;
    }

    // What the function did, a line each, and "-> " its code.
    template <typename Function, typename... Arguments>
    std::string run(const char *name, Arguments... arguments) {
        const cerrno code = exported<Function>(name)(&request, arguments...);
        return take_lines() + "-> " + hex(code);
    }

    std::string take_lines() {
        EXPECT_TRUE(journal_.open.empty()) << journal_.open.back() << " wrote no End";
        for (std::size_t line = 1; line < journal_.numbers.size(); ++line) {
            EXPECT_EQ(journal_.numbers[line], journal_.numbers[line - 1] + 1);
        }
        EXPECT_EQ(log.debug_lines(), journal_.expected_debug);
        return std::exchange(journal_.lines, "");
    }

    const Journal &journal_so_far() { return journal_; }

  private:
    struct LeakCheck {
        std::int64_t before = memory::outstanding();
        ~LeakCheck() { EXPECT_EQ(memory::outstanding(), before); }
    };
    LeakCheck leak_check_;
    std::optional<Database> database_;
    Journal journal_;

  public:
    Log log{Log::Level::trace, true, nullptr};
    Request request;
};

template <typename Function>
Function *next_definition(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace yfw::test

extern "C" {

__attribute__((used)) inline void _lstrace(void *buffer, uint64_t flags, const char *text) {
    static const auto next = yfw::test::next_definition(&_lstrace, "_lstrace");
    if (yfw::test::journal != nullptr) {
        yfw::test::journal->trace(flags, text);
    }
    next(buffer, flags, text);
}

__attribute__((used)) inline void _vnos_dt_log_filter_adv(void *log, int a, int b, int c, int d, int e, int32_t *cell,
                                                          const char *format, ...) {
    static const auto next = yfw::test::next_definition(&_vnos_dt_log_filter_adv, "_vnos_dt_log_filter_adv");
    if (yfw::test::journal != nullptr) {
        EXPECT_EQ(a | b | c | d | e, 0);
        yfw::test::journal->cells.emplace_back(cell, *cell);
    }
    std::array<char, 1024> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    next(log, a, b, c, d, e, cell, "%s", line.data());
}

__attribute__((used)) inline void yfw_oc_error_path(yfw_map_ctx ctx) {
    static const auto next = yfw::test::next_definition(&yfw_oc_error_path, "yfw_oc_error_path");
    if (yfw::test::journal != nullptr) {
        const char *text = ctx->req_ctx->error_text;
        yfw::test::journal->lines +=
            std::string("error path") + (text == nullptr ? "" : ": ") + (text == nullptr ? "" : text) + '\n';
    }
    next(ctx);
}

// "PATH{container}=value <operation of the source> fFLAGS @OTHER-MODULE !STATUS"
__attribute__((used)) inline cerrno
yfw_map_datatree_add_path_flagged(yfw_map_ctx ctx, struct cidl_yfw_datatree *tree, const char *path,
                                  const char *name_space, const char *value, const struct cidl_yfw_datatree *source,
                                  struct cidl_yfw_datatree **added, int container, uint32_t flags) {
    static const auto next =
        yfw::test::next_definition(&yfw_map_datatree_add_path_flagged, "yfw_map_datatree_add_path_flagged");
    std::string line = yfw::test::short_path(path) + (container == 1 ? "{}" : "");
    line += value == nullptr ? "" : std::string("=") + value;
    line += source == nullptr ? "" : " <" + yfw::test::operation_text(source) + ">";
    line += flags == 0 ? "" : " f" + std::to_string(flags);
    const std::string uri = name_space == nullptr ? "none" : name_space;
    const std::string module = uri.substr(uri.rfind('/') + 1);
    line += module == "Tarn-KEL-VN-ipv4-bgp-cfg" ? "" : " @" + module.substr(module.find("ocni-") + 1);
    const cerrno status = next(ctx, tree, path, name_space, value, source, added, container, flags);
    if (yfw::test::journal != nullptr) {
        yfw::test::journal->lines += line + (status == 0 ? "" : " !" + yfw::test::hex(status)) + '\n';
    }
    return status;
}
}
