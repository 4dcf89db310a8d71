// The frame of every callback: what it writes where, and what it costs when nothing is to be written.
#include "plugin_fixture.h"

#include <cstdarg>
#include <set>

namespace {

std::vector<const std::int32_t *> cells; // of the statements that wrote to the debug log, in their order
std::set<std::uint64_t> trace_flags;

} // namespace

// Stand before libyfw's.
extern "C" void _vnos_dt_log_filter_adv(void *log, int a, int b, int c, int d, int e, int32_t *cell, const char *format,
                                        ...) {
    cells.push_back(cell);
    std::array<char, 1024> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    EXPECT_TRUE(a == 0 && b == 0 && c == 0 && d == 0 && e == 0 && (*cell == -1 || *cell == 1));
    *cell = 1;
    static_cast<yfw::Log *>(log)->write_debug(line.data());
}

extern "C" void _lstrace(void *buffer, uint64_t flags, const char *text) {
    trace_flags.insert(flags);
    static_cast<yfw::Log *>(buffer)->write_trace(text);
}

namespace yfw::test {
namespace {

using Lines = std::vector<std::string>;

TEST(Frame, AbortsWithoutAContext) {
    EXPECT_DEATH(exported<Callback>("oc_bgp_do_nothing")(nullptr, nullptr, nullptr), "NULL != ctx");
    EXPECT_DEATH(exported<Callback>("oc_vrf_gbl_rd")(nullptr, nullptr, nullptr), "NULL != ctx");
    EXPECT_DEATH(exported<Selection>("oc_bgp_gbl_routerid")(nullptr, 0, nullptr), "NULL != ctx");
}

TEST(Frame, WritesTheLinesThatAreAskedForAndNumbersThoseOfTheBuffer) {
    for (const auto &[level, traced] :
         {std::pair(-1, false), {0, false}, {2, false}, {3, false}, {-1, true}, {3, true}}) {
        SCOPED_TRACE(std::to_string(level) + (traced ? " traced" : ""));
        Log errors(Log::Level::off, false, nullptr), steps = errors, buffer = errors;
        Request request(project_schema(), YFW_KIND_EDIT, nullptr);
        request.error_log = &errors;
        request.trace_log = &steps;
        request.trace_buffer = &buffer;
        request.debug_filter.level = level;
        request.trace_enabled = traced;
        const std::uint32_t before = ret_nc_yfw_trace_index_incr();
        EXPECT_EQ(exported<Callback>("oc_vrf_gbl_rd")(&request, nullptr, request.destination()), 0xaaf2a000U);
        EXPECT_EQ(ret_nc_yfw_trace_index_incr(), before + 1 + (traced ? 3 : 0));

        std::array<char, 32> pointer{};
        std::snprintf(pointer.data(), pointer.size(), "ctx=%p,", static_cast<void *>(&request));
        const std::string debug = std::string("YFW: ") + pointer.data();
        const std::array<std::string, 3> texts{"Start", "Invalid arguments passed!", "End"};
        EXPECT_EQ(errors.debug_lines(), level >= 0 ? Lines{"ERR: " + debug + texts[1]} : Lines{});
        EXPECT_EQ(steps.debug_lines(),
                  level >= 3 ? (Lines{"TRC: " + debug + texts[0], "TRC: " + debug + texts[2]}) : Lines{});
        ASSERT_EQ(buffer.trace().size(), traced ? 3U : 0U);
        for (std::size_t line = 0; line < buffer.trace().size(); ++line) {
            const std::regex form('#' + std::to_string(before + 1 + line) + (line == 1 ? ": ERR" : ": TRC") +
                                  ": oc_vrf_gbl_rd:[1-9][0-9]* " + pointer.data() + texts.at(line));
            EXPECT_TRUE(std::regex_match(buffer.trace()[line], form)) << buffer.trace()[line];
        }
    }
    EXPECT_EQ(trace_flags, std::set<std::uint64_t>{0x10101000000});
}

TEST(Frame, CutsALineOfTheBufferAt249Characters) {
    for (const std::size_t length : {10U, 400U}) {
        Log log(Log::Level::off, true, nullptr);
        Request request(project_schema(), YFW_KIND_EDIT, &log);
        Arena &arena = request.arena();
        for (Node *node = request.source();
             const char *step : {"network-instances", "network-instance", "protocols", "protocol", "bgp"}) {
            node = ensure_child(arena, node, *node->schema().child(step));
            request.enter(node);
        }
        Node *entry = request.current()->up();
        set_value(arena, ensure_child(arena, entry, *entry->schema().child("name")), std::string(length, 'x'));
        exported<ToplevelCallback>("oc_bgp_toplevel")(&request, request.current(), 0, request.destination());
        ASSERT_GE(log.trace().size(), 2U);
        const std::string &line = log.trace()[log.trace().size() - 2]; // the refusal, before the End
        EXPECT_NE(line.find("No AS number under the instance: xxx"), line.npos);
        EXPECT_EQ(line.ends_with("then edit under BGP"), length == 10);
        EXPECT_EQ(line.size() == 249, length == 400) << line.size();
    }
}

TEST(Frame, WritesOnlyAnEndForNothing) {
    Scene scene;
    EXPECT_EQ(scene.run<Callback>("oc_bgp_do_nothing", nullptr, nullptr), "TRC: End\n-> 0");
}

TEST(Frame, HasAFilterCellForEachStatement) {
    Scene scene;
    const Node *source = scene.map(network_instance("blue") + "/config/route-distinguisher=1:2:3");
    cells.clear();
    for (int round = 0; round < 2; ++round) {
        scene.run<Callback>("oc_vrf_gbl_rd", source, scene.destination);
        scene.run<ProtocolCallback>("oc_process_bgp_protocol", nullptr, nullptr, nullptr, nullptr);
    }
    ASSERT_EQ(cells.size(), 2U * 9U); // three frames with a message each
    EXPECT_EQ(std::set<const std::int32_t *>(cells.begin(), cells.end()).size(), 9U);
    EXPECT_TRUE(std::equal(cells.begin(), cells.begin() + 9, cells.begin() + 9));
}

} // namespace
} // namespace yfw::test
