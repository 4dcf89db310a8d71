// Commits that are killed, and commits of two processes at once.
#include "bgp/items.h"
#include "engine.h"
#include "store_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <future>
#include <set>

namespace yfw::test {
namespace {

const Engine &engine() {
    static const Engine shared({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    return shared;
}

const std::string bgp =
    "/network-instances/network-instance[name=DEFAULT]/protocols/protocol[identifier=BGP][name=core]/bgp";
const std::string instance = bgp + "/global/config/as=65000\n";

std::string neighbour(const std::string &address) {
    return bgp + "/neighbors/neighbor[neighbor-address=" + address + ']';
}

std::string document(const std::string &lines) {
    Arena arena;
    return document_of(engine().schema(), make_tree(arena, engine().schema(), lines));
}

// Every neighbour from an interface whose number is the generation's: native configuration, and an item of each in the
// system database.
std::string neighbours(int generation) {
    std::string lines;
    for (int i = 1; i <= 40; ++i) {
        const std::string entry = neighbour("10.0.0." + std::to_string(i));
        lines += entry + "/transport/config/local-address=Loopback" + std::to_string(generation) + '\n';
        lines += entry + "/config/description=" + std::string(200, 'x') + std::to_string(generation) + '\n';
    }
    return document(lines);
}

void commit(
    const Store &store, std::string document, const std::function<void()> &before = [] {}) {
    Transaction transaction = store.begin(Access::write);
    engine().edit(document, Syntax::json, {}, transaction);
    before();
    transaction.commit();
}

// What the neighbours' interfaces are called, in the configuration and in the system database: one number in both.
int stored_generation(const Store &store) {
    std::set<std::string> configured, shown;
    std::istringstream lines(fetch(store, engine().schema(), "/bgp"));
    int neighbors = 0;
    for (std::string line; std::getline(lines, line);) {
        if (const auto at = line.find("update-source-interface=Loopback"); at != std::string::npos) {
            configured.insert(line.substr(line.rfind('k') + 1));
            ++neighbors;
        } else if (line.find("/description=") != std::string::npos) {
            configured.insert(line.substr(line.rfind('x') + 1));
        }
    }
    const Transaction transaction = store.begin(Access::read);
    int items = 0;
    for (const SystemDatabase::Item &item : SystemDatabase(transaction, bgp_items(engine().schema())).items("")) {
        if (item.path.ends_with("update-source")) {
            shown.insert(item.value.text.substr(item.value.text.rfind('k') + 1));
            ++items;
        }
    }
    EXPECT_EQ(neighbors, 40);
    EXPECT_EQ(items, 40);
    EXPECT_EQ(configured.size(), 1U) << "parts of two commits";
    EXPECT_EQ(shown, configured);
    return std::stoi(*configured.begin());
}

// Commits one generation after the other, and tells before ('b') and after ('a') each.
[[noreturn]] void commit_for_ever(const fs::path &directory, int generation, int report) {
    const Store store(directory, engine().schema(), Access::write);
    const auto tell = [report](const char *what) { (void)!::write(report, what, 1); };
    for (;;) {
        commit(store, neighbours(generation++), [&tell] { tell("b"); });
        tell("a");
    }
}

// Kills a process that commits, at some moment from when it begins to. Returns the commits that it told the end of.
int kill_in_commit(const fs::path &directory, int generation, std::chrono::microseconds after) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const FileHandle from(ends[0]);
    const pid_t child = ::fork();
    if (child == 0) {
        commit_for_ever(directory, generation, ends[1]);
    }
    ::close(ends[1]);
    char told = 0;
    EXPECT_EQ(::read(from.get(), &told, 1), 1);
    const auto moment = std::chrono::steady_clock::now() + after;
    while (std::chrono::steady_clock::now() < moment) {}
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    int ended = 0;
    while (::read(from.get(), &told, 1) == 1) {
        ended += told == 'a' ? 1 : 0;
    }
    return ended;
}

TEST(Commits, KilledAtAnyMomentLeaveTheOldStateOrTheNew) {
    const ScratchDirectory scratch;
    {
        const Store store(scratch / "db", engine().schema(), Access::write);
        commit(store, document(instance));
        commit(store, neighbours(1));
    }
    std::mt19937 random = random_numbers();
    int generation = 1, old_ones = 0, new_ones = 0;
    for (int round = 0; round < 200 && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE(round);
        // Commits take some milliseconds on a disk, and a part of one in memory.
        const std::chrono::microseconds after(random() % (random() % 2 == 0 ? 300 : 6000));
        const int ended = kill_in_commit(scratch / "db", generation + 1, after);
        const int found = stored_generation(Store(scratch / "db", engine().schema(), Access::read));
        EXPECT_GE(found, generation + ended) << "a commit that had ended is lost";
        EXPECT_LE(found, generation + ended + 1);
        (found == generation + ended ? old_ones : new_ones) += 1;
        generation = found;
    }
    std::printf("old state %d times, new state %d times, %d commits\n", old_ones, new_ones, generation);
    const Store store(scratch / "db", engine().schema(), Access::write);
    commit(store, neighbours(generation + 1)); // and it takes edits
    EXPECT_EQ(stored_generation(store), generation + 1);
}

TEST(Commits, OfTwoCommandsAtOnceAreAllKept) {
    constexpr int edits = 25;
    const ScratchDirectory scratch;
    const auto file = [&scratch](const std::string &name, const std::string &text) {
        write_file(scratch / name, text);
        return ' ' + shell_word(scratch / name);
    };
    const auto run = [&scratch](const std::string &files) {
        return std::system(
            (shell_word(YFW_COMMAND) + " --db " + shell_word(scratch / "db") + " edit" + files + " >/dev/null 2>&1")
                .c_str());
    };
    ASSERT_EQ(run(file("instance", document(instance))), 0);
    std::array<std::string, 2> both;
    for (int i = 0; i < edits; ++i) {
        for (int side = 0; side < 2; ++side) {
            const std::string address = "10." + std::to_string(side + 1) + ".0." + std::to_string(i);
            both.at(side) += file(address, document(neighbour(address)));
        }
    }
    // Last of all, both make the same leaf: for one it is there already.
    const std::string create = file("create", document(instance + bgp + "/global/config/router-id{create}=192.0.2.1"));
    auto one = std::async(std::launch::async, run, both[0] + create);
    const int other = run(both[1] + create);
    EXPECT_EQ((std::set{WEXITSTATUS(one.get()), WEXITSTATUS(other)}), (std::set{0, 1}));
    const std::string stored = fetch(Store(scratch / "db", engine().schema(), Access::read), engine().schema(), "/bgp");
    for (int i = 0; i < edits; ++i) {
        for (const char *side : {"10.1.0.", "10.2.0."}) {
            EXPECT_NE(stored.find('=' + (side + std::to_string(i)) + ']'), std::string::npos) << side << i;
        }
    }
}

} // namespace
} // namespace yfw::test
