#include "bgp/roots.h"

#include <algorithm>

namespace yfw {

Side side_of(const SchemaNode &node) {
    const SchemaNode &top = node.top();
    if (top.module->name.starts_with("openconfig-")) {
        return Side::openconfig;
    }
    const auto is_in = [&top](const auto &roots) {
        return std::find(roots.begin(), roots.end(), top.path) != roots.end();
    };
    return is_in(native_roots) ? Side::native : is_in(operational_roots) ? Side::operational : Side::other;
}

std::string why_not_edited(const SchemaNode &top) {
    switch (side_of(top)) {
    case Side::native:
        return "this is native configuration: yfw load takes it";
    case Side::operational:
        return "this is operational data: yfw load takes it";
    default:
        return {}; // what is not served is told of
    }
}

std::string why_not_loaded(const SchemaNode &top) {
    switch (side_of(top)) {
    case Side::openconfig:
        return "this is OpenConfig: yfw edit takes it";
    case Side::other:
        return "only native configuration and operational data can be loaded";
    default:
        return {};
    }
}

} // namespace yfw
