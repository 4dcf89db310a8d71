// What edits do to the configuration as a client sees it: replaces, deletes, creates, values, consequences, refusals.
// The rows are in edit_cases.txt.
#include "edit_fixture.h"

namespace yfw::test {
namespace {

TEST_F(EditCases, OfTheTable) {
    EXPECT_GT(run(both, file_bytes(fs::path(YFW_TESTS_DIR) / "edit_cases.txt")), 150);
}

// It is there afterwards, or the edit is refused; it is never left out.
TEST_F(EditCases, ATableConnectionBesideTheDeleteOfWhatItLiesIn) {
    for (const std::string stored : {"", " | &"}) {
        for (const std::string gone :
             {"^{delete}", "^{remove}", "^/bgp{delete}", "^G{delete}", "^G/config{delete}", "^G.as{delete}"}) {
            run(both | tables, gone + ": ^G#4.enabled=true" + stored + " | > " + gone + " | > &.import-policy=p | !");
        }
        for (const std::string gone :
             {"^G#4{delete}", "^G#4{remove}", "^G/afi-safis{delete}", "^G/afi-safis{replace}"}) {
            run(both | tables, gone + ": ^G#4.enabled=true | - ^G#4/add-paths.send=true" + stored +
                                   " | + &.import-policy=p | > " + gone + " | > &.import-policy=p | ! | ~* enabled");
        }
    }
    run(in_vrf | tables, "both instances: ^G#4.enabled=true | > ~{delete} | > ^{delete} | > & | !");
}

TEST_F(EditCases, DocumentsOfTheOtherDirectionAreRefused) {
    const Place place{"DEFAULT", "DEFAULT"};
    ASSERT_FALSE(commit(document(expand_node("G.as=65000", place, true) + '\n' +
                                 expand_node("@.auth-password=secret", place, true)))
                     .refused);
    const std::string before = native(), own = document("@1/description=x\n@1/password/password=clear");
    for (const char *operation : {"merge", "replace"}) {
        EXPECT_TRUE(has(commit(own, options_of({operation})).refused.value_or(""), "load"));
    }
    const std::string openconfig = document(expand_node("@.peer-as=1", place, true), {"json"});
    EXPECT_TRUE(has(commit(openconfig, std::nullopt).refused.value_or(""), "edit"));
    EXPECT_EQ(native(), before);
}

// A callback that is called again for the reason of its refusal leaves no second trail in the debug log.
TEST_F(EditCases, ARefusalIsLoggedOnce) {
    Log log(Log::Level::trace, false, nullptr);
    const Engine logged({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, &log);
    std::string text = document(entry_path("DEFAULT") + "/config/route-distinguisher=65000:1", {"json"});
    Transaction transaction = store_.begin(Access::write);
    EXPECT_THROW(logged.edit(text, Syntax::json, {}, transaction), Refused);
    const Lines &lines = log.debug_lines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const auto &line) { return line.starts_with("ERR: "); }), 1);
}

} // namespace
} // namespace yfw::test
