// What the frame of a callback costs while nothing is logged, against a call that does nothing.
#include "boundary/instance.h"
#include "boundary/request.h"
#include "mapping/plugin.h"

#include <benchmark/benchmark.h>

#include <stdexcept>
#include <vector>

namespace {

using Callback = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *);
using ProtocolCallback = cerrno (*)(yfw_map_ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *, char *, char *);
using SelectCallback = cerrno (*)(yfw_map_ctx, int, xpath_list_type_t *);

constexpr const char *router_id = "/network-instances/network-instance[name=DEFAULT]/protocols/"
                                  "protocol[identifier=BGP][name=core]/bgp/global/config/router-id";

[[gnu::noinline]] cerrno empty(yfw_map_ctx ctx, const cidl_yfw_datatree *, cidl_yfw_datatree *) {
    benchmark::DoNotOptimize(ctx);
    return 0;
}

// An edit that is at its router id, without a log.
class At {
  public:
    At() : schema_({YFW_MODELS_DIR}), plugin_(YFW_PLUGIN), request_(schema_, YFW_KIND_EDIT, nullptr) {
        node_ = yfw::ensure_instance(request_.arena(), request_.source(), router_id);
        if (node_ == nullptr) {
            throw std::runtime_error("the models lack the router id");
        }
        std::vector<yfw::Node *> above;
        for (yfw::Node *node = node_->up(); node->up() != nullptr; node = node->up()) {
            above.push_back(node);
        }
        while (!above.empty()) {
            request_.enter(above.back());
            above.pop_back();
        }
    }

    template <class Function>
    Function find(const char *name) const {
        void *function = plugin_.find(name);
        if (function == nullptr) {
            throw std::runtime_error(std::string("the plug-in lacks ") + name);
        }
        return reinterpret_cast<Function>(function);
    }
    yfw_map_ctx ctx() { return &request_; }
    const cidl_yfw_datatree *source() const { return node_; }
    cidl_yfw_datatree *destination() { return request_.destination(); }

  private:
    yfw::Schema schema_;
    yfw::Plugin plugin_;
    yfw::Request request_;
    yfw::Node *node_;
};

void call(benchmark::State &state, At &at, Callback function) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(function);
        benchmark::DoNotOptimize(function(at.ctx(), at.source(), at.destination()));
    }
}

void an_empty_call(benchmark::State &state) {
    At at;
    call(state, at, empty);
}
BENCHMARK(an_empty_call);

void a_frame_with_an_End(benchmark::State &state) {
    At at;
    call(state, at, at.find<Callback>("oc_bgp_do_nothing"));
}
BENCHMARK(a_frame_with_an_End);

void a_frame_with_Start_and_End(benchmark::State &state) {
    At at;
    auto function = at.find<ProtocolCallback>("oc_process_bgp_protocol");
    for (auto _ : state) {
        benchmark::DoNotOptimize(function);
        benchmark::DoNotOptimize(function(at.ctx(), at.source(), at.destination(), nullptr, nullptr));
    }
}
BENCHMARK(a_frame_with_Start_and_End);

void a_path_selection(benchmark::State &state) {
    At at;
    auto function = at.find<SelectCallback>("oc_bgp_gbl_routerid");
    std::vector<xpath_list_type_t> candidates(2);
    std::snprintf(candidates[0].xpath, sizeof(candidates[0].xpath),
                  "/bgp/instance/instance-as/four-byte-as/default-vrf/global/router-id");
    for (auto _ : state) {
        benchmark::DoNotOptimize(function(at.ctx(), 2, candidates.data()));
    }
    if (candidates[0].selected != 1 || candidates[1].selected != 0) {
        state.SkipWithError("the default VRF's path was not selected");
    }
}
BENCHMARK(a_path_selection);

} // namespace
