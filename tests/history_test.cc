// The history of the configuration, the ways back, and the differences of states.
#include "base/error.h"
#include "edit_generator.h"
#include "engine.h"
#include "store/check.h"
#include "store_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <numeric>
#include <random>
#include <set>

namespace yfw::test {
namespace {

const Engine &engine() {
    static const Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    return shared;
}

std::set<std::string> lines(const std::vector<Change> &changes) {
    const auto value = [](const Node *node) {
        return node == nullptr ? "nothing" : node->value == nullptr ? "there" : std::string(node->value);
    };
    std::set<std::string> found;
    for (const Change &change : changes) {
        found.insert(instance_path(change.node()) + ": " + value(change.before) + " -> " + value(change.after) + '\n');
    }
    return found;
}

// What a difference of some records tells otherwise than two reads of everything.
std::string mistold(const std::vector<std::string> &keys, const Transaction &before, const Transaction &after) {
    const auto told = engine().difference(keys, before, after, Engine::View::openconfig);
    const auto was = engine().read({}, false, before);
    const auto is = engine().read({}, false, after);
    const auto a = lines(told.changes), b = lines(changes(was.openconfig(), is.openconfig()));
    std::vector<std::string> only;
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(only));
    return std::accumulate(only.begin(), only.end(), std::string());
}

class History : public testing::Test {
  protected:
    Store open(const std::string &name, HistoryLimits limits = {}) const {
        return {directory_ / name, engine().schema(), Access::write, {.history = limits}};
    }
    static std::string read(const Transaction &transaction) {
        return document_of(engine().schema(), engine().read({}, false, transaction).openconfig());
    }
    // A neighbor's description, committed with its beginning as the comment.
    static void describe(const Store &store, const std::string &text) {
        Arena arena;
        Transaction transaction = store.begin(Access::write);
        apply_edit(transaction, make_tree(arena, engine().schema(), "@1/description=" + text));
        transaction.commit({"fred", "command", text.substr(0, 10)});
    }
    // The commits that are kept, those without images marked.
    static std::string numbers(const Store &store) {
        std::string text;
        for (const HistoryEntry &entry : read_history(store.begin(Access::read), 100)) {
            text += (text.empty() ? "" : " ") + std::to_string(entry.number) + (entry.has_images ? "" : "!");
        }
        return text;
    }
    static std::vector<std::string> problems(const Transaction &transaction) {
        return check_records(transaction, engine().schema()).problems;
    }

    const ScratchDirectory directory_;
};

TEST_F(History, LeadsBackToEachStateAndTellsAllThatDiffers) {
    const Store store = open("db");
    const PasswordKey key(directory_ / "db/key", true);
    EditGenerator generator(engine().schema(), engine().mapping().description());
    const char *given = std::getenv("YFW_TEST_SEED");
    const auto seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device()();
    std::printf("YFW_TEST_SEED=%u\n", seed);
    std::mt19937 random(seed);
    std::map<std::size_t, std::string> states{{0, read(store.begin(Access::read))}}; // after each commit
    for (int i = 0; i < 80; ++i) {
        std::array<std::uint8_t, 4096> choices{};
        std::generate(choices.begin(), choices.end(), [&random] { return static_cast<std::uint8_t>(random()); });
        fuzz::Bytes bytes(choices.data(), choices.size());
        Transaction transaction = store.begin(Access::write);
        const Item stored = item_of(engine().read({}, false, transaction).openconfig());
        const RandomEdit edit = i % 4 == 0 ? generator.settings(bytes, stored, 12) : generator.edit(bytes, stored);
        std::string text = print(engine().schema(), edit.document, edit.syntax, edit.default_name);
        try {
            (void)engine().edit(text, edit.syntax, {.default_operation = edit.default_operation}, transaction);
        } catch (const Refused &) {
            continue;
        }
        EXPECT_EQ(mistold(transaction.touched(), transaction.before(), transaction), "")
            << print(engine().schema(), edit.document, Syntax::json);
        transaction.commit();
        const auto newest = read_history(store.begin(Access::read), 1);
        states[newest.empty() ? 0 : newest.front().number] = read(store.begin(Access::read));
    }
    ASSERT_GT(states.size(), 20U);
    for (const auto &[number, state] : states) {
        Transaction past = store.begin(Access::read);
        past.see(images_after(past, number));
        EXPECT_EQ(read(past), state) << "what is seen of the past, after commit " << number;
        Transaction transaction = store.begin(Access::write);
        EXPECT_EQ(mistold(touched_between(past, UINT64_MAX, number), past, transaction), "") << "since " << number;
        restore(transaction, engine().schema(), number);
        EXPECT_EQ(read(transaction), state) << "what comes back, after commit " << number;
        if (number % 7 == 1) {
            transaction.commit();
        }
    }
    EXPECT_EQ(problems(store.begin(Access::read)), std::vector<std::string>());
}

TEST_F(History, KeepsTheNewestCommits) {
    const std::string long_text(3000, 'x');
    const struct {
        std::string name;
        HistoryLimits limits;
        std::vector<std::string> texts;
        std::string kept;
    } rows[] = {
        {"none", {}, {}, ""},
        {"no change", {}, {"a", "b", "b", "c"}, "3 2 1"},
        {"number", {3, 1000000}, {"a", "b", "c", "d", "e"}, "5 4 3"},
        {"bytes", {100, 6000}, {"a", long_text, "c", long_text + 'd', "e", "f"}, "6 5 4"},
        {"too many bytes", {100, 2000}, {"a", long_text, "c", "d"}, "4 3! 2 1"},
    };
    for (const auto &row : rows) {
        const Store store = open(row.name, row.limits);
        for (const std::string &text : row.texts) {
            describe(store, text);
        }
        EXPECT_EQ(numbers(store), row.kept) << row.name;
        EXPECT_EQ(problems(store.begin(Access::read)), std::vector<std::string>()) << row.name;
    }
}

TEST_F(History, RefusesStatesThatAreNotKnown) {
    const auto refusal = [](const Store &store, std::uint64_t number) -> std::string {
        try {
            Transaction transaction = store.begin(Access::write);
            restore(transaction, engine().schema(), number);
            return "";
        } catch (const Refused &refused) {
            return refused.what();
        }
    };
    const Store store = open("db", {4, 2000});
    EXPECT_EQ(refusal(store, 0), "no commit is kept: the history begins with the next one");
    for (const auto &text : {std::string("a"), std::string(3000, 'x')}) {
        describe(store, text);
    }
    for (const char *text : {"c", "d", "e", "f"}) {
        describe(store, text);
    }
    EXPECT_EQ(refusal(store, 7), "there is no commit 7: the last one is 6");
    EXPECT_EQ(refusal(store, 1), "commit 1 is no longer kept: the first one that is kept is 3");
    EXPECT_EQ(refusal(store, 2), "what was before commit 3 is not known: it changed more than is kept");
    EXPECT_EQ(refusal(store, 3), "");
    const std::string newest = "h" + std::string(7, '\0') + '\6';
    for (const std::size_t size : {0U, 10U, 17U, 40U}) {
        Transaction transaction = store.begin(Access::write);
        transaction.put(newest, std::string(transaction.record(newest).value().substr(0, size)));
        EXPECT_THROW(images_after(transaction, 3), Unusable) << size;
        EXPECT_FALSE(problems(transaction).empty()) << size;
    }
}

TEST_F(History, IsOfConfigurationAloneAndBeginsInAStoreThatHasNone) {
    const Store store = open("db");
    Transaction old = store.begin(Access::write);
    old.put("f", "yfw store 1");
    old.commit();
    const std::string state = "/ocni-bgp/network-instances/network-instance[name=red]";
    edit(store, engine().schema(), state);
    EXPECT_EQ(numbers(store), "");
    EXPECT_EQ(store.begin(Access::read).record("f"), "yfw store 2") << "others would leave holes in it";
    describe(store, "a");
    edit(store, engine().schema(), "@1/description=b\n" + state + "{remove}");
    EXPECT_EQ(numbers(store), "2 1");
    Transaction transaction = store.begin(Access::write);
    restore(transaction, engine().schema(), 1);
    transaction.commit();
    EXPECT_EQ(fetch(store, engine().schema(), "/bgp"), "@1/description=a\n");
    EXPECT_EQ(fetch(store, engine().schema(), "/ocni-bgp"), "") << "what is no configuration does not come back";
}

TEST_F(History, IsThatOfTheCommitsThatWereNotKilled) {
    for (int round = 0; round < 10; ++round) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const Store store = open("db");
            for (int i = 0;; ++i) {
                describe(store, std::to_string(round * 1000000 + i));
                (void)!::write(ends[1], "c", 1);
            }
        }
        char told = 0;
        ASSERT_EQ(::read(ends[0], &told, 1), 1);
        ::usleep(static_cast<useconds_t>(std::random_device{}() % 20000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(ends[0]);
        ::close(ends[1]);
        const Store store = open("db");
        EXPECT_EQ(problems(store.begin(Access::read)), std::vector<std::string>());
        const auto newest = read_history(store.begin(Access::read), 1);
        ASSERT_EQ(newest.size(), 1U);
        EXPECT_EQ(fetch(store, engine().schema(), "/bgp"), "@1/description=" + newest.front().note.comment + '\n');
    }
}

} // namespace
} // namespace yfw::test
