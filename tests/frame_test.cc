// The frame of every callback: what it writes where, and what it costs when nothing is to be written.
#include "plugin_fixture.h"

#include <set>

namespace yfw::test {
namespace {

using Lines = std::vector<std::string>;

TEST(Frame, AbortsWithoutAContext) {
    EXPECT_DEATH(exported<Callback>("oc_bgp_do_nothing")(nullptr, nullptr, nullptr), "NULL != ctx");
    EXPECT_DEATH(exported<Callback>("oc_vrf_gbl_rd")(nullptr, nullptr, nullptr), "NULL != ctx");
    EXPECT_DEATH(exported<Selection>("oc_bgp_gbl_routerid")(nullptr, 0, nullptr), "NULL != ctx");
}

TEST(Frame, WritesTheLinesThatAreAskedForAndNumbersThoseOfTheBuffer) {
    struct Row {
        int level;
        bool traces;
        Lines errors, informational; // of the two debug logs
    };
    const Lines start_end{"Start", "End"};
    const std::string refusal = "Invalid arguments passed!";
    for (const Row &row :
         {Row{-1, false, {}, {}}, Row{0, false, {refusal}, {}}, Row{2, false, {refusal}, {}},
          Row{3, false, {refusal}, start_end}, Row{-1, true, {}, {}}, Row{3, true, {refusal}, start_end}}) {
        SCOPED_TRACE(std::to_string(row.level) + (row.traces ? " traced" : ""));
        Log errors(Log::Level::off, false, nullptr);
        Log informational(Log::Level::off, false, nullptr);
        Log buffer(Log::Level::off, false, nullptr);
        Request request(project_schema(), YFW_KIND_EDIT, nullptr);
        request.error_log = &errors;
        request.trace_log = &informational;
        request.trace_buffer = &buffer;
        request.debug_filter.level = row.level;
        request.trace_enabled = row.traces;
        std::array<char, 32> pointer{};
        std::snprintf(pointer.data(), pointer.size(), "ctx=%p,", static_cast<void *>(&request));

        const std::uint32_t before = ret_nc_yfw_trace_index_incr();
        EXPECT_EQ(exported<Callback>("oc_vrf_gbl_rd")(&request, nullptr, request.destination()), 0xaaf2a000U);
        EXPECT_EQ(ret_nc_yfw_trace_index_incr(), before + 1 + (row.traces ? 3 : 0));

        const auto in_form = [&pointer](const std::string &prefix, const Lines &texts) {
            Lines lines;
            for (const std::string &text : texts) {
                lines.push_back(prefix + pointer.data() + text);
            }
            return lines;
        };
        EXPECT_EQ(errors.debug_lines(), in_form("ERR: YFW: ", row.errors));
        EXPECT_EQ(informational.debug_lines(), in_form("TRC: YFW: ", row.informational));
        ASSERT_EQ(buffer.trace().size(), row.traces ? 3U : 0U);
        for (std::size_t line = 0; line < buffer.trace().size(); ++line) {
            const std::string severity = line == 1 ? "ERR" : "TRC";
            const std::string text = line == 1 ? refusal : start_end[line / 2];
            const std::regex form('#' + std::to_string(before + 1 + line) + ": " + severity +
                                  ": oc_vrf_gbl_rd:[1-9][0-9]* " + pointer.data() + text);
            EXPECT_TRUE(std::regex_match(buffer.trace()[line], form)) << buffer.trace()[line];
        }
    }
}

TEST(Frame, CutsALineOfTheBufferAt249Characters) {
    using Toplevel = cerrno(yfw_map_ctx, const Tree *, unsigned, Tree *);
    const std::string text = "No AS number under the instance: ";
    for (const std::size_t length : {10U, 400U}) {
        Scene scene;
        scene.log = Log(Log::Level::off, true, nullptr);
        scene.log.attach(scene.request);
        journal = nullptr;
        Node *bgp = scene.enter(protocol("DEFAULT", std::string(length, 'x')) + "/bgp");
        exported<Toplevel>("oc_bgp_toplevel")(&scene.request, bgp, 0, scene.request.destination());
        const auto line = std::find_if(scene.log.trace().begin(), scene.log.trace().end(),
                                       [&text](const std::string &any) { return any.find(text) != any.npos; });
        ASSERT_NE(line, scene.log.trace().end());
        EXPECT_EQ(line->ends_with(" under BGP"), length == 10) << *line;
        EXPECT_TRUE(length == 10 ? line->size() < 249 : line->size() == 249) << line->size();
    }
}

TEST(Frame, WritesOnlyAnEndForNothing) {
    Scene scene;
    EXPECT_EQ(scene.run<Callback>("oc_bgp_do_nothing", nullptr, nullptr), "TRC: End\n-> 0");
    EXPECT_EQ(scene.request.counts.adds, 0U);
}

TEST(Frame, HasAFilterCellForEachStatement) {
    const FreshPlugin fresh;
    Scene scene;
    const auto call = [&] {
        Node *source = scene.enter(network_instance("blue") + "/config/route-distinguisher=1:2:3");
        exported<Callback>("oc_vrf_gbl_rd", fresh.get())(&scene.request, source, scene.request.destination());
        exported<ProtocolCallback>("oc_process_bgp_protocol", fresh.get())(&scene.request, nullptr, nullptr, nullptr,
                                                                           nullptr);
        scene.take_lines();
    };
    call();
    const auto first = scene.journal_so_far().cells;
    ASSERT_EQ(first.size(), 9U); // two frames with a message each, one of them with a parser's frame and message
    std::set<const std::int32_t *> distinct;
    for (const auto &[cell, content] : first) {
        EXPECT_EQ(content, -1);
        distinct.insert(cell);
    }
    EXPECT_EQ(distinct.size(), first.size());
    call();
    for (std::size_t line = 0; line < first.size(); ++line) {
        EXPECT_EQ(scene.journal_so_far().cells.at(first.size() + line).first, first[line].first);
    }
}

} // namespace
} // namespace yfw::test
