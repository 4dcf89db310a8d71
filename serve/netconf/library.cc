#include "serve/netconf/library.h"

#include "serve/netconf/reply.h"

#include "base/error.h"
#include "bgp/roots.h"
#include "describe/deviations.h"
#include "documents/sink.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

namespace yfw::serve {

namespace {

constexpr const char *deviations_name = "yfw-openconfig-deviations";

// NETCONF's own modules, and what they import.
struct OwnModule {
    const char *name;
    const char *revision;
    const char *name_space;
    const char *features;
};

constexpr const char *base_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

constexpr OwnModule own_modules[] = {
    {"ietf-netconf", "2011-06-01", base_namespace,
     "writable-running,candidate,confirmed-commit,rollback-on-error,validate,xpath"},
    {"ietf-netconf-monitoring", "2010-10-04", monitoring_namespace, ""},
    {"ietf-netconf-with-defaults", "2011-06-01", "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults", ""},
    {"ietf-yang-library", "2016-06-21", yang_library_namespace, ""},
    {"ietf-inet-types", "2013-07-15", "urn:ietf:params:xml:ns:yang:ietf-inet-types", ""},
    {"ietf-yang-types", "2013-07-15", "urn:ietf:params:xml:ns:yang:ietf-yang-types", ""},
};

std::string text_of(LY_ERR code, char *printed) {
    const std::unique_ptr<char, decltype(&std::free)> text(printed, &std::free);
    if (code != LY_SUCCESS || text == nullptr) {
        throw Unusable("a module that clients are to be told of cannot be printed");
    }
    return text.get();
}

std::string printed(const lys_module *module) {
    char *text = nullptr;
    const LY_ERR code = lys_print_mem(&text, module, LYS_OUT_YANG, 0);
    return text_of(code, text);
}

std::string printed(const lysp_submodule *submodule) {
    char *text = nullptr;
    ly_out *out = nullptr;
    LY_ERR code = ly_out_new_memory(&text, 0, &out);
    if (code == LY_SUCCESS) {
        code = lys_print_submodule(out, submodule, LYS_OUT_YANG, 0, 0);
        ly_out_free(out, nullptr, 0);
    }
    return text_of(code, text);
}

// The modules of the served models: what defines their nodes, changes them, or is imported. Imports come first: there
// are clients that load one after the other, and take no default of an identity whose module they have not loaded.
class ServedModules {
  public:
    explicit ServedModules(const Schema &schema) {
        for (const SchemaNode *top : schema.root().children) {
            if (side_of(*top) == Side::openconfig) {
                add(ly_ctx_get_module_implemented(schema.context(), top->module->name.c_str()));
            }
        }
    }
    [[nodiscard]] const std::vector<const lys_module *> &get() const { return modules_; }

  private:
    void add(const lys_module *module) {
        if (module == nullptr || !known_.insert(module).second) {
            return;
        }
        LY_ARRAY_COUNT_TYPE i = 0;
        add_imports(module->parsed->imports);
        LY_ARRAY_FOR(module->parsed->includes, i) {
            add_imports(module->parsed->includes[i].submodule->imports);
        }
        modules_.push_back(module);
        LY_ARRAY_FOR(module->augmented_by, i) {
            add(module->augmented_by[i]);
        }
        LY_ARRAY_FOR(module->deviated_by, i) {
            add(module->deviated_by[i]);
        }
    }

    void add_imports(const lysp_import *imports) {
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(imports, i) {
            add(imports[i].module);
        }
    }

    std::vector<const lys_module *> modules_;
    std::set<const lys_module *> known_;
};

Element leaf(std::string name, std::string_view name_space, std::string text) {
    Element made;
    made.name = std::move(name);
    made.name_space = name_space;
    made.text = std::move(text);
    return made;
}

} // namespace

Library::Library(const Schema &schema, const Mapping &mapping, const std::filesystem::path &ietf) {
    add_models(schema, mapping);
    add_own(ietf);
    std::uint64_t hash = 0;
    for (const LibraryModule &module : modules_) {
        hash = hash * 31 + std::hash<std::string>()(module.name + module.revision + module.text);
    }
    set_id_ = std::to_string(hash);
    add_capabilities();
}

void Library::add_models(const Schema &schema, const Mapping &mapping) {
    LibraryModule deviations;
    deviations.name = deviations_name;
    {
        Sink sink(deviations.text);
        write_deviations(sink, mapping);
        sink.flush();
    }
    // Its header is ours to write, and read here.
    const auto quoted = [&deviations](std::string_view keyword, std::string_view end) {
        const auto begin = deviations.text.find(keyword) + keyword.size();
        return deviations.text.substr(begin, deviations.text.find(end, begin) - begin);
    };
    deviations.revision = quoted("\n  revision ", " ");
    deviations.name_space = quoted("\n  namespace \"", "\"");
    const ServedModules served(schema);
    for (const lys_module *module : served.get()) {
        LibraryModule made;
        made.name = module->name;
        made.revision = module->revision == nullptr ? "" : module->revision;
        made.name_space = module->ns;
        made.text = printed(module);
        LY_ARRAY_COUNT_TYPE i = 0;
        LY_ARRAY_FOR(module->deviated_by, i) {
            made.deviations.emplace_back(module->deviated_by[i]->name);
        }
        if (deviations.text.find("\n  import " + made.name + " ") != std::string::npos) {
            made.deviations.push_back(deviations.name);
        }
        LY_ARRAY_FOR(module->parsed->includes, i) {
            const lysp_submodule *submodule = module->parsed->includes[i].submodule;
            const lysp_revision *revisions = submodule->revs;
            LibraryModule part;
            part.name = submodule->name;
            part.revision = revisions == nullptr ? "" : revisions[0].date;
            part.text = printed(submodule);
            made.submodules.push_back(std::move(part));
        }
        modules_.push_back(std::move(made));
    }
    modules_.push_back(std::move(deviations));
}

void Library::add_own(const std::filesystem::path &directory) {
    for (const OwnModule &own : own_modules) {
        const auto known = std::find_if(modules_.begin(), modules_.end(),
                                        [&own](const LibraryModule &module) { return module.name == own.name; });
        if (known != modules_.end()) {
            continue;
        }
        std::ifstream file(directory / (std::string(own.name) + '@' + own.revision + ".yang"), std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        if (!file) {
            throw Unusable("the module " + std::string(own.name) + " of revision " + own.revision + " is not in " +
                           directory.string() + ": install the package libyuma-base, or name where it is");
        }
        LibraryModule made;
        made.name = own.name;
        made.revision = own.revision;
        made.name_space = own.name_space;
        made.features = own.features;
        made.text = std::move(text).str();
        modules_.push_back(std::move(made));
    }
}

void Library::add_capabilities() {
    for (const char *own :
         {"base:1.0", "base:1.1", "capability:writable-running:1.0", "capability:candidate:1.0",
          "capability:confirmed-commit:1.1", "capability:rollback-on-error:1.0", "capability:validate:1.1",
          "capability:xpath:1.0", "capability:with-defaults:1.0?basic-mode=explicit"}) {
        capabilities_.push_back(std::string("urn:ietf:params:netconf:") + own);
    }
    capabilities_.push_back("urn:ietf:params:netconf:capability:yang-library:1.0?revision=2016-06-21&module-set-id=" +
                            set_id_);
    for (const LibraryModule &module : modules_) {
        std::string capability = module.name_space + "?module=" + module.name;
        capability += module.revision.empty() ? "" : "&revision=" + module.revision;
        capability += module.features.empty() ? "" : "&features=" + module.features;
        for (const std::string &name : module.deviations) {
            capability += (&name == &module.deviations.front() ? "&deviations=" : ",") + name;
        }
        capabilities_.push_back(std::move(capability));
    }
}

const std::string *Library::find(std::string_view name, std::string_view revision) const {
    const auto is_meant = [&](const LibraryModule &module) {
        return module.name == name && (revision.empty() || module.revision == revision);
    };
    for (const LibraryModule &module : modules_) {
        if (is_meant(module)) {
            return &module.text;
        }
        for (const LibraryModule &submodule : module.submodules) {
            if (is_meant(submodule)) {
                return &submodule.text;
            }
        }
    }
    return nullptr;
}

Element Library::modules_state() const {
    const auto make = [](std::string name, std::string text = {}) {
        return leaf(std::move(name), yang_library_namespace, std::move(text));
    };
    Element state = make("modules-state");
    state.children.push_back(make("module-set-id", set_id_));
    for (const LibraryModule &module : modules_) {
        Element entry = make("module");
        entry.children.push_back(make("name", module.name));
        entry.children.push_back(make("revision", module.revision));
        entry.children.push_back(make("namespace", module.name_space));
        std::istringstream features(module.features);
        for (std::string feature; std::getline(features, feature, ',');) {
            entry.children.push_back(make("feature", feature));
        }
        for (const std::string &name : module.deviations) {
            const auto by = std::find_if(modules_.begin(), modules_.end(),
                                         [&name](const LibraryModule &known) { return known.name == name; });
            Element deviation = make("deviation");
            deviation.children.push_back(make("name", name));
            deviation.children.push_back(make("revision", by == modules_.end() ? "" : by->revision));
            entry.children.push_back(std::move(deviation));
        }
        entry.children.push_back(make("conformance-type", "implement"));
        for (const LibraryModule &submodule : module.submodules) {
            Element part = make("submodule");
            part.children.push_back(make("name", submodule.name));
            part.children.push_back(make("revision", submodule.revision));
            entry.children.push_back(std::move(part));
        }
        state.children.push_back(std::move(entry));
    }
    return state;
}

Element Library::monitored_capabilities() const {
    Element capabilities = leaf("capabilities", monitoring_namespace, "");
    for (const std::string &capability : capabilities_) {
        capabilities.children.push_back(leaf("capability", monitoring_namespace, capability));
    }
    return capabilities;
}

Element Library::schemas() const {
    Element schemas = leaf("schemas", monitoring_namespace, "");
    const auto add = [&schemas](const LibraryModule &module, const std::string &name_space) {
        Element schema = leaf("schema", monitoring_namespace, "");
        for (const auto &[name, text] : {std::pair<const char *, std::string>{"identifier", module.name},
                                         {"version", module.revision},
                                         {"format", "yang"},
                                         {"namespace", name_space},
                                         {"location", "NETCONF"}}) {
            schema.children.push_back(leaf(name, monitoring_namespace, text));
        }
        schemas.children.push_back(std::move(schema));
    };
    for (const LibraryModule &module : modules_) {
        add(module, module.name_space);
        for (const LibraryModule &submodule : module.submodules) {
            add(submodule, module.name_space);
        }
    }
    return schemas;
}

} // namespace yfw::serve
