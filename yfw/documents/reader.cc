#include "documents/reader.h"

#include "documents/builder.h"
#include "documents/json_check.h"
#include "documents/json_reader.h"
#include "documents/xml_reader.h"
#include "model/instance_path.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace yfw {

namespace {

// What the builder was told is a place within what is faulty: it begins there in JSON, with its tag in XML.
Place place_in(std::string_view text, Syntax syntax, const char *within) {
    const auto offset = reinterpret_cast<std::uintptr_t>(within) - reinterpret_cast<std::uintptr_t>(text.data());
    if (within == nullptr || offset >= text.size()) {
        return {};
    }
    const auto begin = syntax == Syntax::xml ? text.rfind('<', offset) : offset;
    return place_of(text, begin == std::string_view::npos ? offset : begin);
}

std::vector<Fault> all_faults(Builder &builder, std::string_view text, Syntax syntax, std::vector<Fault> last) {
    std::vector<Fault> faults;
    for (const Builder::Found &found : builder.faults()) {
        faults.push_back(found.fault);
        faults.back().place = place_in(text, syntax, found.place);
    }
    for (Fault &fault : last) {
        if (fault.place.line == 0 && !fault.path.empty()) {
            fault.place = place_in(text, syntax, builder.place());
        }
        faults.push_back(std::move(fault));
    }
    const auto key = [](const Fault &fault) {
        return std::tuple(fault.place.line == 0, fault.place.line, fault.place.column);
    };
    std::stable_sort(faults.begin(), faults.end(), [&](const Fault &a, const Fault &b) { return key(a) < key(b); });
    return faults;
}

} // namespace

Document read_document(Arena &arena, const Schema &schema, std::string &text, Syntax syntax,
                       const ReadOptions &options) {
    if (text.size() > options.max_size) {
        throw Refused(Reason::too_big, "",
                      "the document has " + std::to_string(text.size()) + " bytes, more than " +
                          std::to_string(options.max_size));
    }
    Builder builder(arena, schema, options);
    std::vector<Fault> last; // that nothing can be read behind
    try {
        std::optional<DefaultOperation> default_operation;
        if (syntax == Syntax::json) {
            read_json(builder, text);
        } else {
            default_operation = read_xml(builder, text);
        }
        Document document = builder.finish();
        document.default_operation = default_operation;
        if (builder.faults().empty()) {
            return document;
        }
    } catch (const Refused &refused) {
        last = refused.faults();
    } catch (const Builder::Enough &) {
        // what was found is told
    }
    throw Refused(all_faults(builder, text, syntax, std::move(last)));
}

std::vector<Fault> with_places(std::vector<Fault> faults, const Schema &schema, std::string &text,
                               ReadOptions options) {
    Arena arena;
    std::vector<std::pair<const Node *, const char *>> places;
    options.places = &places;
    const Syntax syntax = guess_syntax(text);
    try {
        read_document(arena, schema, text, syntax, options);
    } catch (const Refused &) {
        return faults; // it is another one by now
    }
    std::vector<std::size_t> found(faults.size()); // how much of the path
    for (const auto &[node, place] : places) {
        const std::string path = instance_path(node);
        for (std::size_t i = 0; i < faults.size(); ++i) {
            const std::string &wanted = faults[i].path;
            const bool is_around =
                wanted.starts_with(path) && (wanted.size() == path.size() || wanted[path.size()] == '/');
            if (is_around && path.size() > found[i]) {
                found[i] = path.size();
                faults[i].place = place_in(text, syntax, place);
            }
        }
    }
    return faults;
}

Syntax guess_syntax(std::string_view text) {
    if (text.starts_with("\xef\xbb\xbf")) {
        text.remove_prefix(3);
    }
    const auto first = text.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && text[first] == '<' ? Syntax::xml : Syntax::json;
}

} // namespace yfw
