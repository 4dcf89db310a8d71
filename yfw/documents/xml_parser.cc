#include "documents/xml_parser.h"

#include "documents/json_check.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

namespace yfw {

namespace {

constexpr std::string_view blanks = " \t\r\n";

std::string_view view(const xmlChar *text) {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char *>(text));
}

constexpr int most_attributes = 100;

// The '<' of a start tag with more attributes and declarations of prefixes than any element here can use, npos when
// there is none: libxml2 holds each against all before it, ahead of the first call. A '<' begins what stands behind it
// wherever a tag can be, so a tag is never missed; in a comment or a CDATA section something may be taken for one.
std::size_t find_crowded_tag(std::string_view text) {
    for (std::size_t begin = text.find('<'); begin != std::string_view::npos;) {
        std::size_t at = begin + 1;
        int count = 0;
        const char first = at < text.size() ? text[at] : '\0';
        char quote = first == '!' || first == '?' || first == '/' ? '<' : '\0'; // no attributes: on to the next
        for (; quote != '<' && at < text.size() && text[at] != '<'; ++at) {
            const char character = text[at];
            if (quote != '\0') {
                quote = character == quote ? '\0' : quote;
            } else if (character == '"' || character == '\'') {
                quote = character;
                if (++count > most_attributes) {
                    return begin;
                }
            } else if (character == '>') {
                break;
            }
        }
        begin = text.find('<', at);
    }
    return std::string_view::npos;
}

// libxml2's own messages quote the text, which may be a password that was not escaped.
const char *fault_reason(int code) {
    switch (code) {
    case XML_ERR_TAG_NAME_MISMATCH:
        return "the end tag does not match the start tag";
    case XML_ERR_TAG_NOT_FINISHED:
    case XML_ERR_DOCUMENT_END: // too early, or with text behind it
        return "the document does not end where it should";
    case XML_ERR_UNDECLARED_ENTITY:
        return "an entity is not declared";
    case XML_ERR_INVALID_CHAR:
    case XML_ERR_INVALID_ENCODING:
        return "a character is not allowed here";
    case XML_NS_ERR_UNDEFINED_NAMESPACE:
        return "a namespace prefix is not declared";
    default:
        return "the text is not well-formed XML";
    }
}

} // namespace

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(blanks);
    return begin == std::string_view::npos ? std::string_view("")
                                           : text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

XmlAttribute XmlAttributes::operator[](std::size_t i) const {
    const xmlChar **at = begin_ + i * 5;
    return {{view(at[0]), view(at[2])},
            {reinterpret_cast<const char *>(at[3]), static_cast<std::size_t>(at[4] - at[3])}};
}

void XmlParser::ContextDeleter::operator()(xmlParserCtxt *context) const {
    xmlFreeParserCtxt(context);
}

// What libxml2 calls. Nothing is thrown through it.
struct XmlParser::Handler {
    template <typename Act>
    static void act(void *self, Act act) {
        auto *parser = static_cast<XmlParser *>(self);
        if (parser->stopped_) {
            return;
        }
        try {
            act(*parser);
        } catch (...) {
            parser->failure_ = std::current_exception();
            parser->stop();
        }
    }

    static xmlSAXHandler calls() {
        xmlSAXHandler calls{};
        calls.initialized = XML_SAX2_MAGIC;
        calls.serror = [](void *self, xmlErrorPtr error) {
            act(self, [&](XmlParser &parser) { parser.fault(*error); });
        };
        calls.startDocument = [](void *self) { act(self, [](XmlParser &parser) { parser.check_encoding(); }); };
        calls.internalSubset = [](void *self, const xmlChar *, const xmlChar *, const xmlChar *) {
            act(self, [](XmlParser &parser) { parser.malformed("", "a document type declaration is not allowed"); });
        };
        calls.startElementNs = [](void *self, const xmlChar *name, const xmlChar *, const xmlChar *uri, int spaces,
                                  const xmlChar **space, int attributes, int, const xmlChar **attribute) {
            act(self, [&](XmlParser &parser) {
                parser.open_names(space, spaces);
                parser.events_->start({view(name), view(uri)}, {attribute, attributes});
            });
        };
        calls.endElementNs = [](void *self, const xmlChar *name, const xmlChar *, const xmlChar *) {
            act(self, [&](XmlParser &parser) {
                parser.events_->end(view(name));
                parser.close_names();
            });
        };
        calls.characters = [](void *self, const xmlChar *text, int size) {
            act(self, [&](XmlParser &parser) {
                parser.events_->text({reinterpret_cast<const char *>(text), static_cast<std::size_t>(size)});
            });
        };
        calls.ignorableWhitespace = calls.characters;
        calls.cdataBlock = [](void *self, const xmlChar *text, int size) {
            const auto length = static_cast<std::size_t>(size);
            act(self, [&](XmlParser &parser) { parser.events_->text({reinterpret_cast<const char *>(text), length}); });
            // libxml2's copy, which it frees as it is.
            explicit_bzero(const_cast<xmlChar *>(text), length);
        };
        return calls;
    }
};

XmlParser::XmlParser(std::string_view text) : text_(text) {}
XmlParser::~XmlParser() = default;

void XmlParser::parse(XmlEvents &events) {
    open();
    events_ = &events;
    xmlParseDocument(context_.get());
    if (failure_) {
        std::rethrow_exception(failure_);
    }
}

void XmlParser::stop() {
    stopped_ = true;
    xmlStopParser(context_.get());
}

const char *XmlParser::position() const {
    return reinterpret_cast<const char *>(context_->input->cur);
}

void XmlParser::open() {
    if (trimmed(text_).empty()) {
        throw Refused(Fault(Reason::malformed_document, "", "the document is empty", {1, 1}));
    }
    if (text_.size() > INT_MAX) {
        throw Refused(Reason::too_big, "", "an XML document of more than 2 GiB cannot be read");
    }
    if (const auto zero = text_.find('\0'); zero != std::string_view::npos) {
        throw Refused(Fault(Reason::malformed_document, "", fault_reason(XML_ERR_INVALID_CHAR), place_of(text_, zero)));
    }
    if (const auto crowded = find_crowded_tag(text_); crowded != std::string_view::npos) {
        throw Refused(Fault(Reason::too_big, "",
                            "an element has more than " + std::to_string(most_attributes) + " attributes",
                            place_of(text_, crowded)));
    }
    context_.reset(xmlNewParserCtxt());
    if (!context_) {
        throw std::bad_alloc();
    }
    *context_->sax = Handler::calls();
    context_->userData = this;
    xmlCtxtUseOptions(context_.get(), XML_PARSE_NONET);
    xmlParserInput *input = xmlNewStringInputStream(context_.get(), reinterpret_cast<const xmlChar *>(text_.data()));
    if (input == nullptr || inputPush(context_.get(), input) < 0) {
        throw std::bad_alloc();
    }
}

void XmlParser::fault(const xmlError &error) const {
    if (error.level < XML_ERR_ERROR) {
        return;
    }
    if (error.code == XML_ERR_NO_MEMORY) {
        throw std::bad_alloc();
    }
    throw Refused(
        Fault(Reason::malformed_document, "", fault_reason(error.code),
              {static_cast<std::size_t>(std::max(error.line, 1)), static_cast<std::size_t>(std::max(error.int2, 1))}));
}

// UTF-8 is noted in another place.
void XmlParser::check_encoding() const {
    const std::string_view declared = view(context_->input->encoding);
    if (!declared.empty() && declared != "US-ASCII") {
        malformed("", "the encoding is " + std::string(declared.substr(0, 30)) + ", and only UTF-8 is read");
    }
}

void XmlParser::malformed(std::string path, const std::string &reason) const {
    throw Refused(
        Fault(Reason::malformed_document, std::move(path), reason,
              {static_cast<std::size_t>(context_->input->line), static_cast<std::size_t>(context_->input->col)}));
}

const std::string_view *XmlParser::name_space(std::string_view prefix) const {
    const auto declared = std::find_if(prefixes_.rbegin(), prefixes_.rend(),
                                       [prefix](const Prefix &known) { return known.prefix == prefix; });
    return declared == prefixes_.rend() ? nullptr : &declared->name_space;
}

void XmlParser::open_names(const xmlChar **space, int count) {
    ++open_elements_;
    for (int i = 0; i < count; ++i, space += 2) {
        prefixes_.push_back({view(space[0]), view(space[1]), open_elements_});
    }
}

void XmlParser::close_names() {
    while (!prefixes_.empty() && prefixes_.back().element == open_elements_) {
        prefixes_.pop_back();
    }
    --open_elements_;
}

} // namespace yfw
