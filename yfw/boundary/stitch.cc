// The joining of list entries into a tree, as a plug-in calls it.
#include "base/failure.h"
#include "boundary/instance.h"
#include "boundary/request.h"

namespace yfw {

namespace {

bool is_of(const SchemaNode &list, std::string_view name_space) {
    return name_space.empty() || list.module->name_space == name_space;
}

// One for both: what the entry is made from is the plug-in's business, where it goes is the operation's.
cerrno stitch(yfw_map_ctx ctx, yfw_xpath_operation *operation) {
    if (ctx == nullptr || operation == nullptr || operation->tree == nullptr || operation->operation != YFW_XPATH_SET ||
        operation->form != YFW_XPATH_FORMAT) {
        return YFW_ERR_INVALID;
    }
    operation->found = nullptr;
    Request &request = request_of(ctx);
    const SchemaNode *list = request.schema().find(operation->schema_path);
    if (list == nullptr || list->kind != NodeKind::list || !is_of(*list, operation->name_space)) {
        return YFW_ERR_UNKNOWN_PATH;
    }
    return failure::guarded([&]() -> cerrno {
        Node *entry = join_instance(request.arena(), request.schema(), static_cast<Node *>(operation->tree),
                                    operation->expression);
        if (entry == nullptr) {
            if (request.fields().error_text == nullptr) {
                request.fields().error_text =
                    yfw_strdup("a key is missing, or is an identity that the model lacks", "YFW MAP");
            }
            return YFW_ERR_NO_ENTRY;
        }
        if (&entry->schema() != list) {
            return YFW_ERR_UNKNOWN_PATH;
        }
        ++request.counts.adds;
        request.set_current_list(entry);
        operation->found = entry;
        return 0;
    });
}

} // namespace

} // namespace yfw

extern "C" {

cerrno yfw_map_stitch_list_to_list(yfw_map_ctx ctx, struct yfw_xpath_operation *operation) {
    return yfw::stitch(ctx, operation);
}

cerrno yfw_map_stitch_container_to_list(yfw_map_ctx ctx, struct yfw_xpath_operation *operation) {
    return yfw::stitch(ctx, operation);
}
}
