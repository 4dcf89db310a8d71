// The frame of every callback: what it writes where, and what it costs when nothing is to be written.
#include "mapping/description.h"
#include "plugin_fixture.h"

#include <cstdarg>

namespace {
std::vector<const std::int32_t *> cells; // of the statements that wrote to the debug log
std::set<std::uint64_t> trace_flags;
} // namespace

// Stand before libyfw's.
extern "C" void _vnos_dt_log_filter_adv(void *log, int, int, int, int, int, int32_t *cell, const char *format, ...) {
    EXPECT_EQ(*cell, std::count(cells.begin(), cells.end(), cell) == 0 ? -1 : 1);
    *cell = 1;
    cells.push_back(cell);
    std::array<char, 1024> line{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    static_cast<yfw::Log *>(log)->write_debug(line.data());
}

extern "C" void _lstrace(void *buffer, uint64_t flags, const char *text) {
    trace_flags.insert(flags);
    static_cast<yfw::Log *>(buffer)->write_trace(text);
}

namespace yfw::test {
namespace {

TEST(Frame, AbortsWithoutAContext) {
    EXPECT_DEATH(exported<Callback>("oc_bgp_do_nothing")(nullptr, nullptr, nullptr), "NULL != ctx");
    EXPECT_DEATH(exported<Callback>("oc_vrf_gbl_rd")(nullptr, nullptr, nullptr), "NULL != ctx");
    EXPECT_DEATH(exported<Selection>("oc_bgp_gbl_routerid")(nullptr, 0, nullptr), "NULL != ctx");
}

TEST(Frame, RefusesMissingArguments) {
    // Those that have nothing to refuse, or go by the request alone.
    const std::string lenient = "vn_bgp_gbl_afisafi_enable vn_bgp_gbl_gr_enabled vn_ocnibgp_state_rd "
                                "vn_bgp_instance_gbl_af_multipath_ebgp vn_bgp_instance_gbl_af_multipath_ibgp "
                                "vn_bgp_instance_nbr_transport_cfg_local_addr vn_bgp_nbr_afi_safi_use_multipath "
                                "vn_bgp_nbr_cluster_id ";
    Scene scene;
    const Tree *const node = scene.map(protocol("blue") + "/bgp");
    for (const auto &[src, dst] : {std::pair(node, static_cast<Tree *>(nullptr)), {nullptr, scene.destination}}) {
        for (const MappingEntry &entry : read_mapping(YFW_MAPPING).entries) {
            const char *name = entry.name.c_str();
            if (entry.served == Service::callback && lenient.find(entry.name + ' ') == lenient.npos) {
                EXPECT_EQ(scene.run<test::Callback>(name, src, dst), no_arguments) << name;
            }
        }
        EXPECT_EQ(scene.run<test::Callback>("vn_bgp_vrf_name", src, dst), no_arguments); // another's helper
        EXPECT_EQ(scene.run<ToplevelCallback>("oc_bgp_toplevel", src, 0, dst), no_arguments);
        EXPECT_EQ(scene.run<ToplevelCallback>("ocni_vn_oper_peer_group_top", src, 0, dst), no_arguments);
        for (const char *name :
             {"oc_process_bgp_protocol_list", "oc_process_bgp_protocol", "oc_get_bgp_instance_name"}) {
            EXPECT_EQ(scene.run<ProtocolCallback>(name, src, dst, nullptr, nullptr), no_arguments);
        }
    }
    EXPECT_EQ(scene.run<test::Callback>("oc_bgp_do_nothing", nullptr, nullptr), "TRC: End\n-> 0");
}

TEST(Frame, WritesTheLinesThatAreAskedForAndNumbersThoseOfTheBuffer) {
    const std::array texts{"TRC: Start", "ERR: Invalid arguments passed!", "TRC: End"};
    for (const auto &[level, traced] :
         {std::pair(-1, false), {0, false}, {2, false}, {3, false}, {-1, true}, {3, true}}) {
        SCOPED_TRACE(std::to_string(level) + (traced ? " traced" : ""));
        std::array<Log, 3> logs{
            Log{Log::Level::off, false, nullptr}, {Log::Level::off, false, nullptr}, {Log::Level::off, false, nullptr}};
        Request request(project_schema(), YFW_KIND_EDIT, nullptr);
        request.trace_log = &logs[0];
        request.error_log = &logs[1];
        request.trace_buffer = &logs[2];
        request.debug_filter.level = level;
        request.trace_enabled = traced;
        const std::uint32_t before = ret_nc_yfw_trace_index_incr();
        exported<Callback>("oc_vrf_gbl_rd")(&request, nullptr, request.destination());
        EXPECT_EQ(ret_nc_yfw_trace_index_incr(), before + 1 + (traced ? 3 : 0));

        const std::string pointer = (std::ostringstream() << "ctx=" << static_cast<void *>(&request) << ',').str();
        std::array<std::vector<std::string>, 2> debug;
        for (std::size_t line = 0; line < texts.size(); ++line) {
            const std::string severity(texts.at(line), 5), text = texts.at(line) + 5;
            if (level >= (line == 1 ? 0 : 3)) {
                debug.at(line % 2).push_back(severity + "YFW: " + pointer + text);
            }
            const std::regex form('#' + std::to_string(before + 1 + line) + ": " + severity +
                                  "oc_vrf_gbl_rd:[1-9]\\d* " + pointer + text);
            EXPECT_TRUE(!traced || std::regex_match(logs[2].trace().at(line), form)) << logs[2].trace().at(line);
        }
        EXPECT_EQ(logs[0].debug_lines(), debug[0]);
        EXPECT_EQ(logs[1].debug_lines(), debug[1]);
        EXPECT_EQ(logs[2].trace().size(), traced ? 3U : 0U);
    }
    EXPECT_EQ(trace_flags, std::set<std::uint64_t>{0x10101000000});
}

TEST(Frame, CutsALineOfTheBufferAt249Characters) {
    for (const std::size_t length : {10U, 400U}) {
        Scene scene;
        journal = nullptr;
        const Node *bgp = scene.map(protocol("DEFAULT", std::string(length, 'x')) + "/bgp");
        exported<ToplevelCallback>("oc_bgp_toplevel")(&scene.request, bgp, 0, scene.destination);
        const std::string line = scene.request.log()->trace().rbegin()[1]; // the refusal, before the End
        EXPECT_NE(line.find("No AS number under the instance: xxx"), line.npos);
        EXPECT_EQ(line.ends_with("then edit under BGP"), length == 10);
        EXPECT_EQ(line.size() == 249, length == 400) << line.size();
    }
}

TEST(Frame, HasAFilterCellForEachStatement) {
    Scene scene;
    const Node *source = scene.map(network_instance("blue") + "/config/route-distinguisher=1:2:3");
    const auto earlier = static_cast<std::ptrdiff_t>(cells.size());
    for (int round = 0; round < 2; ++round) {
        scene.run<Callback>("oc_vrf_gbl_rd", source, scene.destination); // a callback's lines and its parser's
        scene.run<Callback>("oc_bgp_do_nothing", nullptr, nullptr);
    }
    const auto first = cells.begin() + earlier;
    ASSERT_EQ(cells.end() - first, 2 * 7);
    EXPECT_EQ(std::set<const std::int32_t *>(first, cells.end()).size(), 7U);
    EXPECT_TRUE(std::equal(first, first + 7, first + 7));
}

} // namespace
} // namespace yfw::test
