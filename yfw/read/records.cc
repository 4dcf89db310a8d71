#include "read/records.h"

#include "bgp/related.h"
#include "boundary/system_database.h"
#include "read/cut.h"
#include "read/walk.h"

namespace yfw {

std::unique_ptr<Request> read_records(const Ground &ground, const std::vector<std::string> &keys,
                                      const Transaction &transaction, bool as_openconfig) {
    auto result = ground.request(YFW_KIND_READ);
    if (!as_openconfig) {
        transaction.fetch_records(result->arena(), keys, result->source());
    } else {
        transaction.fetch_records(result->arena(), with_related(keys, ground.schema, transaction), result->source());
        const SystemDatabase database(transaction, ground.items);
        const BoundSystemDatabase bound(database);
        result->renders = true;
        render_walk(*result, ground.mapping);
        repeat_keys(*result, ground.mapping, result->destination(), false);
    }
    return result;
}

} // namespace yfw
