// The tree's operations as a callback calls them, at few and at many siblings. Items are single operations.
#include "boundary/request.h"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

#define NEIGHBORS "/bgp/instance/instance-as/four-byte-as/default-vrf/bgp-entity/neighbors"
#define NEIGHBOR NEIGHBORS "/neighbor"

constexpr const char *name_space = "http://tarn-kel.example/ns/yang/Tarn-KEL-VN-ipv4-bgp-cfg";

const yfw::Schema &schema() {
    static const yfw::Schema loaded({YFW_MODELS_DIR});
    return loaded;
}

std::vector<std::string> addresses(std::int64_t count) {
    std::vector<std::string> made;
    for (std::int64_t i = 0; i < count; ++i) {
        made.push_back("10." + std::to_string(i >> 16) + "." + std::to_string(i >> 8 & 255) + "." +
                       std::to_string(i & 255));
    }
    return made;
}

void add(yfw::Request &request, const char *path, const char *value, int container) {
    if (yfw_map_datatree_add_path_flagged(&request, request.destination(), path, name_space, value, nullptr, nullptr,
                                          container, 0) != 0) {
        throw std::runtime_error(std::string("cannot add ") + path);
    }
}

// Four paths a neighbour.
void add_neighbors(yfw::Request &request, const std::vector<std::string> &keys) {
    for (const std::string &key : keys) {
        add(request, NEIGHBOR, nullptr, 1);
        add(request, NEIGHBOR "/neighbor-address", key.c_str(), 0);
        add(request, NEIGHBOR "/remote-as/as-xx", "0", 0);
        add(request, NEIGHBOR "/remote-as/as-yy", "65001", 0);
    }
}

void sizes(benchmark::internal::Benchmark *bench) {
    for (const std::int64_t count : {100, 10'000, 100'000}) {
        bench->Arg(count);
    }
}

void add_a_path(benchmark::State &state) {
    const std::vector<std::string> keys = addresses(state.range(0));
    for (auto _ : state) {
        yfw::Request request(schema(), YFW_KIND_EDIT, nullptr);
        add_neighbors(request, keys);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0) * 4);
}
BENCHMARK(add_a_path)->Apply(sizes);

void find_a_child(benchmark::State &state) {
    yfw::Request request(schema(), YFW_KIND_EDIT, nullptr);
    add_neighbors(request, addresses(state.range(0)));
    const yfw::SchemaNode &list = *schema().find(NEIGHBOR);
    const yfw::SchemaNode &remote_as = *list.child("remote-as");
    const yfw::Node *neighbors = request.destination();
    while (neighbors->schema().id != list.parent->id) {
        neighbors = yfw::child(neighbors, neighbors->first()->schema());
    }
    const yfw::Node *entry = yfw::entries(neighbors, list)->first;
    for (auto _ : state) {
        const yfw::Node *found = yfw::child(entry, remote_as);
        benchmark::DoNotOptimize(found);
        entry = next_entry(entry) == nullptr ? yfw::entries(neighbors, list)->first : next_entry(entry);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(find_a_child)->Apply(sizes);

void find_an_entry_by_key(benchmark::State &state) {
    yfw::Request request(schema(), YFW_KIND_EDIT, nullptr);
    const std::vector<std::string> keys = addresses(state.range(0));
    add_neighbors(request, keys);
    std::size_t next = 0;
    for (auto _ : state) {
        cidl_yfw_datatree *found = nullptr;
        if (yfw_map_search_list(&request, request.destination(), &found, NEIGHBOR, keys[next].c_str(),
                                "neighbor-address", name_space) != 0) {
            state.SkipWithError("an entry is not found");
            break;
        }
        benchmark::DoNotOptimize(found);
        next = next + 1 == keys.size() ? 0 : next + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(find_an_entry_by_key)->Apply(sizes);

} // namespace
