// The history of the configuration, the ways back, and the differences of states.
#include "base/error.h"
#include "edit_generator.h"
#include "engine.h"
#include "store/check.h"
#include "store_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <set>

namespace yfw::test {
namespace {

const Engine &engine() {
    static const Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    return shared;
}

std::string read(const Transaction &transaction) {
    return document_of(engine().schema(), engine().read({}, false, transaction).openconfig());
}

// A neighbor's description, committed with the same text, or its beginning, as the comment.
void describe(const Store &store, const std::string &text, const std::string &neighbor = "10.0.0.1") {
    Arena arena;
    Transaction transaction = store.begin(Access::write);
    apply_edit(transaction,
               make_tree(arena, engine().schema(), "@[neighbor-address=" + neighbor + "]/description=" + text));
    transaction.commit({"fred", "command", text.substr(0, 10)});
}

std::string numbers(const Store &store) {
    std::string text;
    for (const HistoryEntry &entry : read_history(store.begin(Access::read), 100)) {
        text += (text.empty() ? "" : " ") + std::to_string(entry.number) + (entry.has_images ? "" : "!");
    }
    return text;
}

std::set<std::string> lines(const std::vector<Change> &changes) {
    std::set<std::string> found;
    for (const Change &change : changes) {
        const auto value = [](const Node *node) {
            return node == nullptr ? "nothing" : node->value == nullptr ? "there" : std::string(node->value);
        };
        found.insert(instance_path(change.node()) + ": " + value(change.before) + " -> " + value(change.after) + '\n');
    }
    return found;
}

// What only one of them has.
std::string differing(const std::vector<Change> &one, const std::vector<Change> &other) {
    const std::set<std::string> a = lines(one), b = lines(other);
    std::string text;
    for (const auto &[some, others] : {std::pair{&a, &b}, {&b, &a}}) {
        for (const std::string &line : *some) {
            text += others->contains(line) ? "" : (some == &a ? "told: " : "not told: ") + line;
        }
    }
    return text;
}

TEST(History, LeadsBackToEachStateAndTellsAllThatDiffers) {
    const ScratchDirectory directory;
    const Store store(directory / "db", engine().schema(), Access::write);
    const PasswordKey key(directory / "db/key", true);
    EditGenerator generator(engine().schema(), engine().mapping().description());
    std::mt19937_64 random(std::random_device{}());
    if (const char *seed = std::getenv("YFW_TEST_SEED"); seed != nullptr) {
        random.seed(std::stoull(seed));
    } else {
        const auto chosen = std::random_device{}();
        random.seed(chosen);
        std::printf("YFW_TEST_SEED=%u\n", chosen);
    }
    std::map<std::size_t, std::string> states{{0, read(store.begin(Access::read))}}; // after each commit
    for (int i = 0; i < 80; ++i) {
        std::array<std::uint8_t, 4096> choices{};
        std::generate(choices.begin(), choices.end(), [&random] { return static_cast<std::uint8_t>(random()); });
        fuzz::Bytes bytes(choices.data(), choices.size());
        Transaction transaction = store.begin(Access::write);
        const Engine::ReadResult stored = engine().read({}, false, transaction);
        const Item item = item_of(stored.openconfig());
        const RandomEdit edit = i % 4 == 0 ? generator.settings(bytes, item, 12) : generator.edit(bytes, item);
        std::string text = print(engine().schema(), edit.document, edit.syntax, false, edit.default_name);
        try {
            (void)engine().edit(text, edit.syntax, {.default_operation = edit.default_operation}, transaction);
        } catch (const Refused &) {
            continue;
        }
        const Transaction before = transaction.before();
        const auto found = engine().difference(transaction.touched(), before, transaction, Engine::View::openconfig);
        const Engine::ReadResult now = engine().read({}, false, transaction);
        EXPECT_EQ(differing(found.changes, changes(stored.openconfig(), now.openconfig())), "")
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
        restore(transaction, engine().schema(), number);
        EXPECT_EQ(read(transaction), state) << "what comes back, after commit " << number;
        if (number % 7 == 1) {
            transaction.commit();
        }
    }
    EXPECT_EQ(check_records(store.begin(Access::read), engine().schema()).problems, std::vector<std::string>());
}

TEST(History, KeepsTheNewestCommits) {
    const std::string long_text(3000, 'x');
    const struct {
        HistoryLimits limits;
        std::vector<std::string> texts;
        std::string kept;
    } rows[] = {
        {{}, {}, ""},
        {{}, {"a", "b", "b", "c"}, "3 2 1"}, // once nothing changes
        {{3, 1000000}, {"a", "b", "c", "d", "e"}, "5 4 3"},
        {{100, 6000}, {"a", long_text, "c", long_text + 'd', "e", "f"}, "6 5 4"},
        {{100, 2000}, {"a", long_text, "c", "d"}, "4 3! 2 1"},
    };
    for (const auto &row : rows) {
        const ScratchDirectory directory;
        const Store store(directory / "db", engine().schema(), Access::write, {.history = row.limits});
        for (const std::string &text : row.texts) {
            describe(store, text);
        }
        EXPECT_EQ(numbers(store), row.kept);
        EXPECT_EQ(check_records(store.begin(Access::read), engine().schema()).problems, std::vector<std::string>());
    }
}

TEST(History, RefusesStatesThatAreNotKnown) {
    const ScratchDirectory directory;
    const auto refusal = [](const Store &store, std::uint64_t number) -> std::string {
        try {
            Transaction transaction = store.begin(Access::write);
            restore(transaction, engine().schema(), number);
            return "";
        } catch (const Refused &refused) {
            return refused.what();
        }
    };
    {
        const Store store(directory / "db", engine().schema(), Access::write, {.history = {4, 2000}});
        EXPECT_EQ(refusal(store, 0), "no commit is kept: the history begins with the next one");
        for (const std::string &text : {std::string("a"), std::string(3000, 'x'), std::string("c"), std::string("d"),
                                        std::string("e"), std::string("f")}) {
            describe(store, text);
        }
        EXPECT_EQ(refusal(store, 7), "there is no commit 7: the last one is 6");
        EXPECT_EQ(refusal(store, 1), "commit 1 is no longer kept: the first one that is kept is 3");
        EXPECT_EQ(refusal(store, 2), "what was before commit 3 is not known: it changed more than is kept");
        EXPECT_EQ(refusal(store, 3), "");
    }
    const Store store(directory / "other", engine().schema(), Access::write);
    describe(store, "a");
    const std::string damaged = "h" + std::string(7, '\0') + '\1';
    for (const std::size_t size : {0U, 10U, 17U, 40U}) {
        Transaction transaction = store.begin(Access::write);
        const std::string bytes(transaction.record(damaged).value().substr(0, size));
        transaction.put(damaged, bytes);
        EXPECT_THROW(images_after(transaction, 0), Unusable) << size;
        EXPECT_FALSE(check_records(transaction, engine().schema()).problems.empty()) << size;
    }
}

TEST(History, IsOfConfigurationAlone) {
    const ScratchDirectory directory;
    const Store store(directory / "db", engine().schema(), Access::write);
    const std::string state = "/ocni-bgp/network-instances/network-instance[name=red]";
    edit(store, engine().schema(), state);
    EXPECT_EQ(numbers(store), "");
    describe(store, "a");
    edit(store, engine().schema(), "@1/description=b\n" + state + "{remove}");
    EXPECT_EQ(numbers(store), "2 1");
    Transaction transaction = store.begin(Access::write);
    restore(transaction, engine().schema(), 1);
    transaction.commit();
    EXPECT_EQ(fetch(store, engine().schema(), "/bgp"), "@1/description=a\n");
    EXPECT_EQ(fetch(store, engine().schema(), "/ocni-bgp"), "") << "what is no configuration does not come back";
}

TEST(History, BeginsInAStoreThatHasNone) {
    const ScratchDirectory directory;
    {
        const Store store(directory / "db", engine().schema(), Access::write);
        Transaction transaction = store.begin(Access::write);
        transaction.put("f", "yfw store 1");
        transaction.commit();
    }
    EXPECT_EQ(numbers(Store(directory / "db", engine().schema(), Access::read)), "");
    const Store store(directory / "db", engine().schema(), Access::write);
    describe(store, "a");
    EXPECT_EQ(numbers(store), "1");
    EXPECT_EQ(store.begin(Access::read).record("f"), "yfw store 2") << "others would leave holes in it";
}

TEST(History, IsThatOfTheCommitsThatWereNotKilled) {
    const ScratchDirectory directory;
    for (int round = 0; round < 10; ++round) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const Store store(directory / "db", engine().schema(), Access::write);
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
        const Store store(directory / "db", engine().schema(), Access::read);
        const Transaction transaction = store.begin(Access::read);
        EXPECT_EQ(check_records(transaction, engine().schema()).problems, std::vector<std::string>());
        const auto newest = read_history(transaction, 1);
        ASSERT_EQ(newest.size(), 1U);
        EXPECT_EQ(fetch(store, engine().schema(), "/bgp"), "@1/description=" + newest.front().note.comment + '\n');
    }
}

} // namespace
} // namespace yfw::test
