// published_index: writes the index of published names (yfw/documents/published.h) that scripts/published-index keeps.
#include "base/error.h"
#include "model/schema.h"

#include <libyang/libyang.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace {

// Sorted by name, then by module.
struct Names {
    std::map<std::pair<std::string, std::string>, Names> below;
};

bool is_open_config(std::string_view module) {
    return module.starts_with("openconfig-");
}

void add_nodes(Names &names, const yfw::SchemaNode &parent) {
    for (const yfw::SchemaNode *child : parent.children) {
        if (is_open_config(child->module->name)) {
            add_nodes(names.below[{child->name, child->module->name}], *child);
        }
    }
}

// Each base with what is derived from it without another one between.
void add_identities(Names &names, const lysc_ident *identities) {
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(identities, i) {
        const lysc_ident &base = identities[i];
        LY_ARRAY_COUNT_TYPE j = 0;
        LY_ARRAY_FOR(base.derived, j) {
            const lysc_ident &derived = *base.derived[j];
            names.below[{base.name, base.module->name}].below[{derived.name, derived.module->name}];
        }
    }
}

void print(const Names &names, const std::string &indent, const std::string &module) {
    for (const auto &[name, below] : names.below) {
        const bool says_module = name.second != module;
        std::printf("%s%s%s%s\n", indent.c_str(), says_module ? name.second.c_str() : "", says_module ? ":" : "",
                    name.first.c_str());
        print(below, indent + ' ', name.second);
    }
}

void run(int count, char **directories) {
    std::map<std::string, std::string> modules;
    Names identities;
    Names nodes;
    for (int i = 0; i < count; ++i) {
        const yfw::Schema schema({std::filesystem::path(directories[i])});
        std::uint32_t position = 0;
        while (const lys_module *module = ly_ctx_get_module_iter(schema.context(), &position)) {
            if (is_open_config(module->name)) {
                modules.emplace(module->name, module->ns);
                add_identities(identities, module->identities);
            }
        }
        add_nodes(nodes, schema.root());
    }
    std::printf(
        "# Names in the published OpenConfig models. Made by scripts/published-index: not to be edited.\nmodules\n");
    for (const auto &[name, name_space] : modules) {
        std::printf(" %s\n  %s\n", name.c_str(), name_space.c_str());
    }
    std::printf("identities\n");
    print(identities, " ", "");
    std::printf("nodes\n");
    print(nodes, " ", "");
}

} // namespace

int main(int argc, char **argv) {
    try {
        run(argc - 1, argv + 1);
        return std::fflush(stdout) == 0 && argc > 1 ? 0 : 1;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "error: %s\n", failure.what());
        return 1;
    }
}
