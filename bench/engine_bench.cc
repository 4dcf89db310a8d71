// Whole requests: an edit of many neighbours, its commit, the read of them and of their state, and the read of many
// VRFs. Items are neighbours, or VRFs.
#include "engine.h"
#include "store/password_key.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

const yfw::Engine &engine() {
    static const yfw::Engine made({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    return made;
}

class Directory {
  public:
    Directory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "yfw-bench-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~Directory() { std::filesystem::remove_all(path_); }
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    [[nodiscard]] const std::filesystem::path &path() const { return path_; }

  private:
    std::filesystem::path path_;
};

struct Stored {
    Directory directory;
    yfw::Store store{directory.path() / "db", engine().schema(), yfw::Access::write};
    yfw::PasswordKey key{directory.path() / "db/key", true};

    void load(std::string text) {
        yfw::Transaction transaction = store.begin(yfw::Access::write);
        engine().load(text, yfw::Syntax::json, transaction);
        transaction.commit();
    }
    void edit(std::string text) {
        yfw::Transaction transaction = store.begin(yfw::Access::write);
        engine().edit(text, yfw::Syntax::json, {}, transaction);
        transaction.commit();
    }
};

std::string protocol(const std::string &network_instance, const std::string &bgp) {
    return R"({"name":")" + network_instance +
           R"(","protocols":{"protocol":[{"identifier":"BGP","name":"core","bgp":{)" + bgp + "}}]}}";
}

std::string document(const std::string &instances) {
    return R"({"network-instances":{"network-instance":[)" + instances + "]}}";
}

std::string address_of(std::int64_t i) {
    return "10." + std::to_string(i >> 16) + '.' + std::to_string(i >> 8 & 255) + '.' + std::to_string(i & 255);
}

std::string neighbors(std::int64_t count, std::int64_t first = 0) {
    std::string text = R"("global":{"config":{"as":65000}},"neighbors":{"neighbor":[)";
    for (std::int64_t i = first; i < first + count; ++i) {
        const std::string address = address_of(i);
        text +=
            (i == first ? "" : ",") + (R"({"neighbor-address":")" + address) + R"(","config":{"peer-as":)" +
            std::to_string(64512 + i % 400) + R"(,"enabled":true,"description":"peer at )" + address +
            R"("},"timers":{"config":{"hold-time":"90","keepalive-interval":"30","minimum-advertisement-interval":)" +
            R"("5.250"}},"transport":{"config":{"passive-mode":false,"local-address":"192.0.2.1"}},)" +
            R"("ebgp-multihop":{"config":{"enabled":true,"multihop-ttl":5}},)" +
            R"("logging-options":{"config":{"log-neighbor-state-changes":true}},)" +
            R"("apply-policy":{"config":{"default-import-policy":"REJECT_ROUTE"}}})";
    }
    return document(protocol("DEFAULT", text + "]}"));
}

std::string family_state(const std::string &name) {
    return R"({"afi-safi-name":")" + name + R"(","state":{"afi-safi-name":")" + name +
           R"(","active":true,"prefixes":{"received":5,"sent":7,"installed":5}}})";
}

// Operational data: about 40 leaves a neighbour.
std::string neighbor_state(std::int64_t count) {
    std::string text = R"({"ocni-bgp":{"network-instances":{"network-instance":[{"name":"default","protocols":{)"
                       R"("protocol":[{"identifier":"BGP","name":"core","bgp":{"neighbors":{"neighbor":[)";
    for (std::int64_t i = 0; i < count; ++i) {
        const std::string address = address_of(i);
        text += (i == 0 ? "" : ",") + (R"({"neighbor-address":")" + address) + R"(","state":{"neighbor-address":")" +
                address + R"(","peer-as":)" + std::to_string(64512 + i % 400) +
                R"(,"peer-type":"external","session-state":"established","last-established":"1763740800000000000",)" +
                R"("established-transitions":"3","supported-capabilities":["MPBGP","ROUTE_REFRESH","ASN32"],)" +
                R"("messages":{"sent":{"UPDATE":"120","NOTIFICATION":"1"},"received":{"UPDATE":"3400",)" +
                R"("NOTIFICATION":"0"}},"queues":{"input":0,"output":2}},"timers":{"state":{"hold-time":"90",)" +
                R"("keepalive-interval":"30","negotiated-hold-time":"60"}},"transport":{"state":{"local-address":)" +
                R"("192.0.2.1","local-port":179,"remote-address":")" + address + R"(","remote-port":40001}},)" +
                R"("neighbors-afi-safis":{"neighbors-afi-safi":[)" + family_state("IPV4_UNICAST") + ',' +
                family_state("IPV6_UNICAST") + "]}}";
    }
    return text + "]}}}]}}]}}}";
}

std::string vrfs(std::int64_t count) {
    std::string text;
    for (std::int64_t i = 0; i < count; ++i) {
        text +=
            (i == 0 ? "" : ",") +
            protocol("vrf-" + std::to_string(i),
                     R"("global":{"config":{"as":65000,"router-id":"192.0.2.1"},"route-selection-options":{"config":)"
                     R"({"always-compare-med":true,"ignore-as-path-length":true,"external-compare-router-id":true}},)"
                     R"("afi-safis":{"afi-safi":[{"afi-safi-name":"IPV4_UNICAST","config":{"enabled":true},)"
                     R"("use-multiple-paths":{"ebgp":{"config":{"maximum-paths":4}},"ibgp":{"config":)"
                     R"({"maximum-paths":8}}},"add-paths":{"config":{"receive":true,"send":false}}}]}})");
    }
    return document(text);
}

// Other neighbours each time, as in one request after the other: addresses that were there before are not checked
// again.
std::vector<std::string> neighbor_documents(std::int64_t count) {
    std::vector<std::string> documents;
    for (std::int64_t first = 0; first < 20000; first += count) {
        documents.push_back(neighbors(count, first));
    }
    return documents;
}

// Translated, checked and applied, and then given up.
void edit_neighbors(benchmark::State &state) {
    Stored stored;
    const std::vector<std::string> documents = neighbor_documents(state.range(0));
    std::size_t next = 0;
    for (auto _ : state) {
        std::string text = documents[next++ % documents.size()];
        yfw::Transaction transaction = stored.store.begin(yfw::Access::write);
        benchmark::DoNotOptimize(engine().edit(text, yfw::Syntax::json, {}, transaction).native());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(edit_neighbors)->Arg(150)->Arg(15000);

// The same, made to last.
void commit_neighbors(benchmark::State &state) {
    Stored stored;
    const std::vector<std::string> documents = neighbor_documents(state.range(0));
    std::size_t next = 0;
    for (auto _ : state) {
        stored.edit(documents[next++ % documents.size()]);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(commit_neighbors)->Arg(150)->Arg(15000)->UseRealTime();

void read(benchmark::State &state, const std::string &document) {
    Stored stored;
    stored.edit(document);
    const yfw::Transaction transaction = stored.store.begin(yfw::Access::read);
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine().read({}, false, transaction).openconfig());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void read_neighbors(benchmark::State &state) {
    read(state, neighbors(state.range(0)));
}
BENCHMARK(read_neighbors)->Arg(150)->Arg(15000);

// State beside the configuration of the same neighbours.
void read_neighbor_state(benchmark::State &state) {
    Stored stored;
    stored.edit(neighbors(state.range(0)));
    stored.load(neighbor_state(state.range(0)));
    const yfw::Transaction transaction = stored.store.begin(yfw::Access::read);
    const std::string path = "/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor/state";
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine().read({path}, true, transaction).openconfig());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(read_neighbor_state)->Arg(150)->Arg(15000);

// The session state of one neighbour among many.
void read_one_session_state(benchmark::State &state) {
    Stored stored;
    stored.load(neighbor_state(state.range(0)));
    const yfw::Transaction transaction = stored.store.begin(yfw::Access::read);
    const std::string path = "/network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP]"
                             "[name=core]/bgp/neighbors/neighbor[neighbor-address=10.0.0.5]/state/session-state";
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine().read({path}, true, transaction).openconfig());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(read_one_session_state)->Arg(10)->Arg(15000);

// All of the state, without configuration to join.
void read_all_state(benchmark::State &state) {
    Stored stored;
    stored.load(neighbor_state(state.range(0)));
    const yfw::Transaction transaction = stored.store.begin(yfw::Access::read);
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine().read({}, true, transaction).openconfig());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(read_all_state)->Arg(150)->Arg(15000);

void read_vrfs(benchmark::State &state) {
    read(state, vrfs(state.range(0)));
}
BENCHMARK(read_vrfs)->Arg(10)->Arg(100);

// One leaf of one neighbour among many.
void edit_one_leaf(benchmark::State &state) {
    Stored stored;
    stored.edit(neighbors(state.range(0)));
    const std::string document =
        R"({"network-instances":{"network-instance":[{"name":"DEFAULT","protocols":{"protocol":)"
        R"([{"identifier":"BGP","name":"core","bgp":{"neighbors":{"neighbor":)"
        R"([{"neighbor-address":"10.0.0.5","config":{"description":"changed"}}]}}}]}}]}})";
    for (auto _ : state) {
        std::string text = document;
        yfw::Transaction transaction = stored.store.begin(yfw::Access::write);
        benchmark::DoNotOptimize(engine().edit(text, yfw::Syntax::json, {}, transaction).native());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(edit_one_leaf)->Arg(10)->Arg(15000);

// What a durable commit costs the store itself: one record among those of many neighbours, and its history.
void commit_record(benchmark::State &state) {
    Stored stored;
    stored.edit(neighbors(state.range(0)));
    std::string key;
    std::string bytes;
    {
        const yfw::Transaction transaction = stored.store.begin(yfw::Access::read);
        yfw::Cursor cursor(transaction);
        cursor.seek_last(yfw::root_key);
        key = cursor.key();
        bytes = cursor.bytes();
    }
    for (auto _ : state) {
        bytes.back() ^= 1;
        yfw::Transaction transaction = stored.store.begin(yfw::Access::write);
        transaction.put(key, bytes);
        transaction.commit({"bench", "command", ""});
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(commit_record)->Arg(10)->Arg(15000)->UseRealTime();

// The translation of the document that the environment names, checked and applied in memory, without reading it.
void map_document(benchmark::State &state) {
    const char *file = std::getenv("YFW_BENCH_DOCUMENT");
    if (file == nullptr) {
        state.SkipWithError("YFW_BENCH_DOCUMENT names no document");
        return;
    }
    std::ifstream stream(file);
    const std::string document((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    using Clock = std::chrono::steady_clock;
    Clock::time_point begin;
    yfw::Engine own({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    own.on_stage = [&](const char *) { begin = Clock::now(); }; // the last one is the translation
    Stored stored;
    for (auto _ : state) {
        std::string text = document;
        yfw::Transaction transaction = stored.store.begin(yfw::Access::write);
        transaction.keep_nothing();
        const yfw::EditResult result = own.edit(text, yfw::Syntax::json, {}, transaction);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
        benchmark::DoNotOptimize(result.native());
    }
}
BENCHMARK(map_document)->UseManualTime();

} // namespace
