// The mapping description: which node is served how, and by which function of the plug-in. Data, read by libyang.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace yfw {

enum class Service { callback, toplevel, protocol_list, protocol, select, copy, convert, convert_to, companion, key };

struct MappingEntry {
    std::string path;
    Service served = Service::callback;
    std::string name; // empty for Service::key
    std::vector<std::string> candidates;
    std::string target;                     // of the copying services
    std::string hands_on_to;                // of Service::companion: the function that it calls
    bool may_write_nothing = false;         // an edit that writes nothing is not to be reported
    std::string taken_with;                 // from the parent, the node whose function writes this one too
    std::vector<std::string> fetches;       // native paths that a read needs beside those that the function declares
    std::string kept_in;                    // from the parent, a list that natively has the setting in every entry
    std::optional<std::string> unset_value; // the value that is the same as none
    bool unset_deletes = false;             // it is to be deleted for that value
    bool one_value = false;                 // natively a leaf-list has one value
    std::string hint;                       // why an edit may write nothing
    bool maps_nothing = false;              // no edit does
    bool covered = false;                   // deletes of an outer node take it along
    bool may_be_absent = false;             // the models in use may lack the node
};

// A node whose when-condition the plug-in has a handler for.
struct MappingWhen {
    std::string path;
    std::string name;
};

struct MappingHelper {
    std::string name;
    std::string reason;
};

// What a reader should know of some nodes.
struct MappingNote {
    std::string text;
    std::vector<std::string> paths;
};

// What a client may do about a refusal whose reason has the text in it.
struct MappingAdvice {
    std::string text;
    std::string hint;
};

struct MappingDescription {
    std::string revision; // a date, or empty
    std::vector<MappingEntry> entries;
    std::vector<MappingWhen> conditions;
    std::vector<MappingHelper> helpers;
    std::vector<MappingNote> notes;
    std::vector<MappingAdvice> advice;

    // The first advice that there is for a reason, empty for none.
    [[nodiscard]] std::string hint(std::string_view reason) const;
};

// The word of the description's "served" leaf.
const char *service_name(Service service);

// Reads a description, with its YANG module beside it. Throws Unusable with the file, the path and the reason.
MappingDescription read_mapping(const std::filesystem::path &file);

} // namespace yfw
