#include "mapping/call.h"

#include "base/failure.h"
#include "model/when.h"

#include <utility>

namespace yfw {

cerrno Caller::call(Node *node, const Binding &binding) {
    note_.clear();
    handled_ = false;
    failure::clear();
    const cerrno code = dispatch(node, binding);
    failure::rethrow();
    return code;
}

cerrno Caller::dispatch(Node *node, const Binding &binding) {
    cidl_yfw_datatree *destination = request_.destination();
    switch (binding.entry->served) {
    case Service::callback:
        return reinterpret_cast<Callback>(binding.function)(&request_, node, destination);
    case Service::toplevel:
        return reinterpret_cast<ToplevelCallback>(binding.function)(&request_, node, 0, destination);
    case Service::protocol_list:
    case Service::protocol:
        return mapping_.companion().call_protocol(request_, node, reinterpret_cast<ProtocolCallback>(binding.function));
    case Service::select:
        return call_select(node, binding);
    case Service::copy:
        return call_copy(node, *binding.target, node->value);
    case Service::convert:
    case Service::convert_to:
        return call_convert(node, binding);
    case Service::companion:
        return call_companion(node, binding);
    case Service::key:
        break;
    }
    return 0;
}

cerrno Caller::call_companion(Node *node, const Binding &binding) {
    CompanionCall call{request_, *node, binding.function, stored_, {}};
    const cerrno code = binding.companion(call);
    note_ = std::move(call.note);
    handled_ = call.handled;
    return code;
}

cerrno Caller::call_select(Node *node, const Binding &binding) {
    // The candidates are the mapping's; the marks are this call's, on a copy that is made once.
    std::vector<xpath_list_type_t> &candidates = candidates_[&binding];
    if (candidates.empty()) {
        candidates = binding.candidates;
    }
    for (xpath_list_type_t &candidate : candidates) {
        candidate.selected = 0;
    }
    const cerrno code = reinterpret_cast<SelectCallback>(binding.function)(
        &request_, static_cast<int>(candidates.size()), candidates.data());
    if (code != 0) {
        return code;
    }
    const bool is_read = request_.is_read();
    if (!is_read && node->schema().is_inner()) {
        return 0; // a container says nothing in an edit: what is in it does
    }
    for (const xpath_list_type_t &candidate : candidates) {
        if (candidate.selected == 0 || (in_vrf() && mapping_.companion().is_of_default(candidate.xpath))) {
            continue; // what is the default VRF's is no business of another
        }
        const char *value = candidate.get_value != nullptr ? candidate.get_value(node) : node->value;
        const cerrno added = yfw_map_datatree_add_path_flagged(
            &request_, request_.destination(), candidate.xpath, candidate.name_space,
            is_read || node->is_delete() ? nullptr : value, is_read ? nullptr : node, nullptr, 0, 0);
        if (added != 0) {
            return added;
        }
    }
    return 0;
}

cerrno Caller::call_copy(const Node *node, const SchemaNode &target, const char *value) {
    const yfw_content_selection &selection = request_.fields().selection;
    const bool active = selection.count < 0 || (selection.groups[0] | selection.groups[1]) != 0;
    if (request_.is_read() && target.config && active && selection.mode == YFW_SELECT_STATE_ONLY) {
        return 0;
    }
    return yfw_map_datatree_add_path_flagged(&request_, request_.destination(), target.path.c_str(), nullptr,
                                             node->is_delete() ? nullptr : value, request_.is_read() ? nullptr : node,
                                             nullptr, 0, 0);
}

// A node without a value is one that a read asks for, or that goes.
cerrno Caller::call_convert(const Node *node, const Binding &binding) {
    if (node->value == nullptr || node->is_delete()) {
        return call_copy(node, *binding.target, nullptr);
    }
    const char *value = binding.entry->served == Service::convert
                            ? reinterpret_cast<Converter>(binding.function)(&request_, node)
                            : reinterpret_cast<ConverterTo>(binding.function)(&request_, node, request_.destination());
    return value == nullptr ? 0 : call_copy(node, *binding.target, value);
}

bool condition_holds(Request &request, const Node *node, WhenHandler handler) {
    const bool holds = when_holds(*node->schema().when, node, request.is_read());
    return handler(&request, holds ? node : nullptr) == 0;
}

} // namespace yfw
