// Loading of YANG modules from directories.
#include "model/schema.h"

#include "base/error.h"
#include "base/temporary_directory.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <utility>

namespace yfw {

namespace {

using Texts = std::map<std::string, std::string, std::less<>>; // module or submodule name -> YANG text

void replace_all(std::string &text, std::string_view what, std::string_view with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

// The published OpenConfig modules write ^ and $ into patterns, where YANG takes them to the letter: none would match.
bool needs_mending(std::string_view text) {
    return text.find("'^") != std::string_view::npos;
}

void mend_patterns(std::string &text) {
    replace_all(text, "'^", "'");
    replace_all(text, "$';", "';");
}

std::string read_file(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw Unusable("cannot read the YANG module " + file.string());
    }
    return std::move(text).str();
}

std::pair<bool, std::string> rank(const std::filesystem::path &file) {
    std::string name = file.filename().string();
    return {name.find('@') == std::string::npos, std::move(name)};
}

Texts read_modules(const std::vector<std::filesystem::path> &directories) {
    Texts texts;
    for (const auto &directory : directories) {
        std::error_code error;
        std::vector<std::filesystem::path> files;
        for (const auto &file : std::filesystem::directory_iterator(directory, error)) {
            if (file.path().extension() == ".yang" && !file.is_directory()) {
                files.push_back(file.path());
            }
        }
        if (error) {
            throw Unusable("cannot read the models directory " + directory.string() + ": " + error.message());
        }
        // Of several revisions in one directory the newest, which is the last; before them the file that names none.
        std::sort(files.rbegin(), files.rend(), [](const auto &a, const auto &b) { return rank(a) < rank(b); });
        for (const auto &file : files) {
            const std::string stem = file.stem().string();
            const std::string name = stem.substr(0, stem.find('@'));
            if (!texts.contains(name)) {
                texts.emplace(name, read_file(file));
            }
        }
    }
    return texts;
}

// Gives libyang the modules. It looks for none itself: it would take those of subdirectories, too.
LY_ERR import_module(const char *name, const char *, const char *submodule, const char *, void *given,
                     LYS_INFORMAT *format, const char **text, ly_module_imp_data_free_clb *release) {
    const auto &known = *static_cast<const Texts *>(given);
    const auto found = known.find(name);
    if (submodule != nullptr || found == known.end()) {
        return LY_ENOTFOUND;
    }
    *format = LYS_IN_YANG;
    *text = found->second.c_str();
    *release = nullptr;
    return LY_SUCCESS;
}

std::string last_error(const ly_ctx *context) {
    const char *message = ly_errmsg(context);
    const char *path = ly_errpath(context);
    std::string text = message != nullptr ? message : "unknown error";
    if (path != nullptr) {
        text += std::string(" (") + path + ')';
    }
    return text;
}

bool is_submodule(std::string_view text) {
    const auto line = text.find("\nsubmodule ");
    return text.starts_with("submodule ") || (line != std::string_view::npos && line < text.find('{'));
}

// libyang crashes when a callback gives it submodules: they get a directory of their own, with nothing else in it, for
// as long as the modules are loaded. Null when there are none.
std::unique_ptr<TemporaryDirectory> give_submodules(ly_ctx *context, const Texts &texts) {
    std::unique_ptr<TemporaryDirectory> directory;
    for (const auto &[name, text] : texts) {
        if (!is_submodule(text)) {
            continue;
        }
        if (directory == nullptr) {
            directory = std::make_unique<TemporaryDirectory>();
        }
        std::ofstream file(directory->path() / (name + ".yang"), std::ios::binary);
        file << text;
        file.close();
        if (!file) {
            throw Unusable("cannot write into " + directory->path().string());
        }
    }
    if (directory != nullptr && ly_ctx_set_searchdir(context, directory->path().c_str()) != LY_SUCCESS) {
        throw Unusable("cannot use the directory " + directory->path().string() + ": " + last_error(context));
    }
    return directory;
}

} // namespace

void keep_libyang_quiet() {
    static std::once_flag done; // it is one setting for all threads
    std::call_once(done, [] { ly_log_options(LY_LOSTORE_LAST); });
}

void Schema::load(const std::vector<std::filesystem::path> &directories) {
    Texts texts = read_modules(directories);
    for (auto &[name, text] : texts) {
        if (needs_mending(text)) {
            mend_patterns(text);
        }
    }
    keep_libyang_quiet();
    ly_ctx *created = nullptr;
    constexpr std::uint16_t options =
        LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD | LY_CTX_EXPLICIT_COMPILE | LY_CTX_ALL_IMPLEMENTED;
    if (ly_ctx_new(nullptr, options, &created) != LY_SUCCESS) {
        throw Unusable("cannot set libyang up");
    }
    context_.reset(created);
    const auto submodules = give_submodules(created, texts);
    ly_ctx_set_module_imp_clb(created, import_module, &texts);
    // The native modules first: of two top-level nodes of one name theirs is meant by a path without a module.
    for (const bool open_config : {false, true}) {
        for (const auto &[name, text] : texts) {
            if (name.starts_with("openconfig-") != open_config || is_submodule(text) ||
                ly_ctx_get_module_implemented(created, name.c_str()) != nullptr) {
                continue;
            }
            if (ly_ctx_load_module(created, name.c_str(), nullptr, nullptr) == nullptr) {
                throw Unusable("the YANG module " + name + " cannot be used: " + last_error(created));
            }
        }
    }
    if (ly_ctx_compile(created) != LY_SUCCESS) {
        throw Unusable("the YANG modules do not fit together: " + last_error(created));
    }
    ly_ctx_set_module_imp_clb(created, nullptr, nullptr);
    ly_ctx_unset_searchdir(created, nullptr);
}

} // namespace yfw
