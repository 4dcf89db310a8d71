// The store and the application of edits to it.
#include "store/check.h"
#include "store_fixture.h"

#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <functional>
#include <set>

namespace yfw::test {
namespace {

const std::string start = "~/bgp-running=\n"
                          "~/default-vrf/global/router-id=192.0.2.1\n"
                          "~/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]/static-routes\n"
                          "@1/create=\n"
                          "@1/timers/hold-time=90\n"
                          "@1/timers/keepalive-interval=30\n"
                          "@1/neighbor-afs/neighbor-af[af-name=ipv4-unicast]/activate=\n"
                          "@10/create=\n";

const std::string all = "/bgp\n/vrfs";

// The start, with lines taken out and put in.
std::string but(std::initializer_list<std::string> without, const std::string &with = "") {
    std::string lines = start;
    for (const std::string &line : without) {
        lines.erase(lines.find(line + '\n'), line.size() + 1);
    }
    return lines + with;
}

std::multiset<std::string> sorted(const std::string &lines) {
    std::istringstream stream(lines);
    std::multiset<std::string> all_lines;
    for (std::string line; std::getline(stream, line);) {
        all_lines.insert(line);
    }
    return all_lines;
}

TEST(Edit, EveryOperationOnEveryKindOfNode) {
    const std::string activate = "@1/neighbor-afs/neighbor-af[af-name=ipv4-unicast]/activate=";
    const std::string hold = "@1/timers/hold-time=90";
    const std::string keepalive = "@1/timers/keepalive-interval=30";
    const std::string af = "~/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]";
    const std::string other_as = "/bgp/instance[instance-name=core]/instance-as[as=1]";
    const std::string old_as = "/bgp/instance[instance-name=core]/instance-as[as=0]";
    const struct {
        std::string edit, result; // what is stored then; of a refused edit the path refused
        Reason refused = Reason{};
        Round round = Round::sets;
    } cases[] = {
        {"@1/timers/hold-time=9\n@1/description=a", but({hold}, "@1/timers/hold-time=9\n@1/description=a\n")},
        {"@9", start + "@9\n"},
        {"@10/timers", start}, // nothing by itself
        {af + "/ospf-routes", start + af + "/ospf-routes\n"},
        {"@1{replace}/description=new", but({"@1/create=", hold, keepalive, activate}, "@1/description=new\n")},
        {"@1/timers{replace}/hold-time=9", but({hold, keepalive}, "@1/timers/hold-time=9\n")},
        {"@10/description{replace}=x", start + "@10/description=x\n"},
        {"@1{delete}", but({"@1/create=", hold, keepalive, activate})}, // not its longer namesake
        {"@1/neighbor-afs{delete}", but({activate})},
        {"@1/timers/hold-time{delete}", but({hold})},
        {"@10/create{delete}", but({"@10/create="}, "@10\n")}, // leaves the entry
        {"@10/description{delete}", start},
        {"@9{delete}", start},
        {"@1/description=x\n@9{create}", "@9", Reason::unknown_operation}, // which is none of a native edit's
        {"@9{remove}/description=x", start},
        {"@10/description{remove}", start},
        {"/vrfs/vrf[vrf-name=blue]{remove}", start}, // of a list never used
        {af + "/static-routes{remove}", but({af + "/static-routes"}, af + "\n")},
        {"/bgp{remove}", ""},
        // Deletes only: what is around them is left alone.
        {"@1/description=x\n@9/create=\n@1/timers{delete}\n@10/description{delete}",
         but({hold, keepalive}),
         {},
         Round::deletes},
        {"@/description=x", "@", Reason::missing_key},
        // A choice: the other case drives the one out.
        {"@1/neighbor-cluster-id/cluster-id-number=7\n@1/neighbor-cluster-id/cluster-id-address=1.1.1.1",
         start + "@1/neighbor-cluster-id/cluster-id-address=1.1.1.1\n"},
        // One entry too many, and another one in place of the only one.
        {other_as, other_as, Reason::constraint},
        {other_as + '\n' + old_as + "{delete}", other_as + '\n'},
    };
    for (const auto &row : cases) {
        SCOPED_TRACE(row.edit);
        const ScratchDirectory scratch;
        const Store store(scratch / "db", project_schema(), Access::write);
        edit(store, project_schema(), start);
        const std::string before = file_bytes(scratch / "db/data.mdb");
        edit(store, project_schema(), start);
        EXPECT_TRUE(file_bytes(scratch / "db/data.mdb") == before) << "what changes nothing is not written";
        try {
            edit(store, project_schema(), row.edit, row.round);
            EXPECT_EQ(row.refused, Reason{});
            EXPECT_EQ(sorted(fetch(store, project_schema(), all)), sorted(row.result));
        } catch (const Refused &refused) {
            EXPECT_EQ(refused.code(), static_cast<cerrno>(row.refused)) << refused.what();
            EXPECT_EQ(refused.path(), expand(row.result));
            EXPECT_EQ(std::string(refused.what()).find("with as 0") != std::string::npos,
                      row.refused == Reason::constraint);
            EXPECT_TRUE(file_bytes(scratch / "db/data.mdb") == before);
        }
    }
}

TEST(Edit, IsCheckedAgainstTheNativeModel) {
    for (const auto &[line, text] : std::vector<std::pair<std::string, std::string>>{
             {"@1/timers/hold-time=2", "\"2\""},
             {"@1/timers/hold-time", "no value"},
             {"@1/password/password=", "does not take the value"},
             {"@1/timers/hold-time{remove}=2", ""},
             {"@1/create", ""},
             {"@300", "10.0.0.300"},
             {"@300{delete}", "10.0.0.300"},
             {"/vrfs/vrf[vrf-name=blue]/bgp-global/route-distinguisher/type=" + std::string(100, 'x'),
              '"' + std::string(60, 'x') + "...\""}}) {
        Arena arena;
        std::string refused;
        try {
            check_native(project_schema(), make_tree(arena, project_schema(), line));
        } catch (const Refused &refusal) {
            EXPECT_EQ(refusal.code(), static_cast<cerrno>(Reason::invalid_value));
            refused = refusal.what();
        }
        EXPECT_EQ(refused.empty(), text.empty()) << line;
        EXPECT_NE(refused.find(text), std::string::npos) << refused;
    }
}

TEST(Fetch, TakesWhatThePatternNames) {
    const ScratchDirectory scratch;
    const Store store(scratch / "db", project_schema(), Access::write);
    edit(store, project_schema(), start);
    const std::vector<std::pair<std::string, std::string>> cases{
        {"", ""},
        {"/bgp", start},
        {"@1/timers", "@1/timers/hold-time=90\n@1/timers/keepalive-interval=30\n"},
        {"@/timers/hold-time", "@1/timers/hold-time=90\n@10\n"},
        {"@10", "@10/create=\n"},
        {"@2", "~\n"},
        {"@/neighbor-afs\n@/neighbor-afs/neighbor-af/activate",
         "@1/neighbor-afs/neighbor-af[af-name=ipv4-unicast]/activate=\n@10\n"},
        {"/vrfs/vrf/bgp-global", ""},
    };
    for (const auto &[wanted, expected] : cases) {
        EXPECT_EQ(sorted(fetch(store, project_schema(), wanted)), sorted(expected)) << wanted;
    }
}

// Of a model of the test's own: what the project's models do not have.
std::string small_model(const std::string &body) {
    return "module small { yang-version 1.1; namespace \"urn:small\"; prefix s; container top { " + body + " } }";
}

TEST(Models, AreThoseOfTheDirectoriesNamed) {
    const ScratchDirectory scratch;
    const auto module = [&scratch](const std::string &name, const std::string &leaf) {
        write_file(scratch / name, small_model("leaf " + leaf + " { type string; }"));
    };
    const auto has = [](const Schema &schema, const std::string &leaf) {
        return schema.find("/top/" + leaf) != nullptr;
    };
    module("one/small.yang", "own");
    module("one/below/small@2031-01-01.yang", "below");
    module("two/small@2030-01-01.yang", "older");
    module("two/small@2031-01-01.yang", "newer");
    fs::create_directory(scratch / "one/directory.yang");
    EXPECT_TRUE(has(Schema({scratch / "one", scratch / "two"}), "own"));
    EXPECT_TRUE(has(Schema({scratch / "two", scratch / "one"}), "newer"));
    // A submodule, of another directory than its module.
    write_file(scratch / "first/whole.yang",
               "module whole { yang-version 1.1; namespace 'urn:w'; prefix w; include part; }");
    write_file(scratch / "second/part.yang", "submodule part { yang-version 1.1; belongs-to whole { prefix w; } "
                                             "container top { leaf own { type string { pattern '^a$'; } } } }");
    write_file(scratch / "second/below/part@2031-01-01.yang", "submodule part { belongs-to whole { prefix w; } }");
    const Schema whole({scratch / "first", scratch / "second"});
    EXPECT_TRUE(has(whole, "own"));
}

TEST(Store, OutlivesModelsThatGrowAndNamesThoseItNeeds) {
    const ScratchDirectory scratch;
    const std::string list =
        "list pair { key \"a b\"; leaf a { type string; } leaf b { type string; } leaf-list v { type string; } } ";
    write_file(scratch / "old/small.yang", small_model(list));
    write_file(scratch / "new/small.yang",
               small_model("leaf first { type string; } " + list + "leaf last { type string; } "));
    const Schema before({scratch / "old"});
    const Schema after({scratch / "new"});
    edit(Store(scratch / "db", before, Access::write), before,
         "/top/pair[a=x][b=y]/v=2\n/top/pair[a=x][b=y]/v=1\n/top/pair[a=x][b=z]");
    {
        const Store store(scratch / "db", after, Access::write);
        edit(store, after, "/top/last=l\n/top/first=f\n/top/pair[a=x][b=y]/v{remove}=2\n/top/pair[a=x][b=y]/v=3");
        EXPECT_EQ(fetch(store, after, "/top"),
                  "/top/first=f\n/top/last=l\n/top/pair[a=x][b=y]/v=1\n/top/pair[a=x][b=y]/v=3\n/top/pair[a=x][b=z]\n");
        EXPECT_EQ(fetch(store, after, "/top/pair[b=z]"), "/top/pair[a=x][b=z]\n");
        edit(store, after, "/top/pair[a=x][b=y]/v{delete}");
        EXPECT_EQ(fetch(store, after, "/top/pair[a=x][b=y]"), "/top/pair[a=x][b=y]\n");
        EXPECT_THROW(edit(store, after, "/top/pair[a=" + std::string(600, 'x') + "][b=y]"), Refused);
    }
    EXPECT_THROW(fetch(Store(scratch / "db", before, Access::read), before, "/top"), Unusable);
}

std::string neighbors(int count, const std::string &leaf) {
    std::string lines;
    for (int i = 0; i < count; ++i) {
        lines +=
            "@[neighbor-address=10.0." + std::to_string(i / 250) + '.' + std::to_string(i % 250) + ']' + leaf + '\n';
    }
    return lines;
}

std::string failure(const std::function<void()> &work) {
    try {
        work();
    } catch (const Unusable &unusable) {
        return unusable.what();
    }
    return "";
}

TEST(Store, ThatCannotBeUsedSaysWhatToDo) {
    const std::string lines = neighbors(2000, "/create=");
    const std::vector<std::pair<std::string, std::function<void(const fs::path &)>>> cases{
        {"is no store",
         [](const fs::path &db) {
             write_file(db / "data.mdb", "something else, longer than a header" + std::string(200, 'x'));
         }},
        {"is no store", [](const fs::path &db) { write_file(db, "a file"); }},
        {"another version",
         [&](const fs::path &db) {
             edit(Store(db, project_schema(), Access::write), project_schema(), start);
             std::string bytes = file_bytes(db / "data.mdb");
             for (std::size_t at = 0; (at = bytes.find("yfw store 2", at)) != std::string::npos;) {
                 bytes[at + 10] = '3';
             }
             write_file(db / "data.mdb", bytes);
         }},
        {"is damaged",
         [&](const fs::path &db) {
             edit(Store(db, project_schema(), Access::write), project_schema(), lines);
             fs::resize_file(db / "data.mdb", 8192);
         }},
    };
    for (const auto &[text, spoil] : cases) {
        const ScratchDirectory scratch;
        spoil(scratch / "db");
        for (const Access access : {Access::read, Access::write}) {
            const std::string said =
                failure([&] { (void)Store(scratch / "db", project_schema(), access).begin(access); });
            EXPECT_NE(said.find(text), std::string::npos) << said;
            EXPECT_NE(said.find((scratch / "db").string()), std::string::npos) << said;
        }
    }
    const ScratchDirectory scratch;
    const Store store(scratch / "db", project_schema(), Access::write, {.map_size = 64 << 10U, .lock_wait = {}});
    edit(store, project_schema(), start);
    EXPECT_NE(failure([&] { edit(store, project_schema(), lines); }).find("is full"), std::string::npos);
    const FileHandle other(::open((scratch / "db").c_str(), O_RDONLY));
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0);
    EXPECT_NE(failure([&] { (void)store.begin(Access::write); }).find("in use"), std::string::npos);
    EXPECT_EQ(sorted(fetch(store, project_schema(), all)), sorted(start));
}

// Runs work in a child process; returns how that ended.
int in_child(const std::function<int()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return status;
}

TEST(Store, IsReadWhereNothingMayBeWritten) {
    const ScratchDirectory scratch;
    EXPECT_EQ(fetch(Store(scratch / "none", project_schema(), Access::read), project_schema(), all), "");
    EXPECT_FALSE(fs::exists(scratch / "none"));
    edit(Store(scratch / "db", project_schema(), Access::write), project_schema(), start);
    fs::remove(scratch / "db/lock.mdb");
    for (const auto &[path, mode] : {std::pair{"db/data.mdb", 0444}, {"db", 0555}, {"", 0755}}) {
        fs::permissions(scratch / path, static_cast<fs::perms>(mode));
    }
    const Schema &schema = project_schema();
    const auto nobody_can = [](const std::function<bool()> &work) {
        return in_child([&] { return (::getuid() == 0 && ::setuid(65534) != 0) || !work() ? 1 : 0; }) == 0;
    };
    EXPECT_TRUE(nobody_can([&] {
        const bool reads = sorted(fetch(Store(scratch / "db", schema, Access::read), schema, all)) == sorted(start);
        const std::string said = failure([&] { Store(scratch / "db", schema, Access::write); });
        return reads && said.find("may not be written") != std::string::npos;
    }));
    // It cannot be noted as a reader: it and writers wait for one another.
    fs::permissions(scratch / "db", static_cast<fs::perms>(0755));
    fs::permissions(scratch / "db/data.mdb", static_cast<fs::perms>(0644));
    const Store writer(scratch / "db", schema, Access::write);
    fs::permissions(scratch / "db/lock.mdb", static_cast<fs::perms>(0444));
    const auto read = [&] {
        return failure(
            [&] { (void)Store(scratch / "db", schema, Access::read, {.lock_wait = {}}).begin(Access::read); });
    };
    EXPECT_TRUE(nobody_can([&] { return read().empty(); }));
    const Transaction writing = writer.begin(Access::write);
    EXPECT_TRUE(nobody_can([&] { return read().find("in use") != std::string::npos; }));
}

TEST(Store, IsCheckedRecordByRecord) {
    const Schema &schema = project_schema();
    // The number of a list's or leaf's schema node, and the keys, each with its terminator for the "|".
    const auto key = [&schema](const Transaction &transaction, const std::string &path, std::string keys) {
        std::string text;
        append_number(text, transaction.number(*schema.find(path)));
        std::replace(keys.begin(), keys.end(), '|', '\0');
        return text + keys;
    };
    const std::string instance = "/bgp/instance", as = instance + "/instance-as";
    const std::vector<std::pair<std::string, std::function<void(Transaction &)>>> cases{
        {"", [](Transaction &) {}},
        {"a record of an unknown kind", [](Transaction &t) { t.put("x", ""); }},
        {"/vrfs/vrf[vrf-name=a]: its values cannot be told apart",
         [&](Transaction &t) { t.put("d" + key(t, "/vrfs/vrf", "a|"), "x"); }},
        {"/vrfs/vrf: an entry without its keys", [&](Transaction &t) { t.put("d" + key(t, "/vrfs/vrf", "a"), ""); }},
        {"/: an entry of no list", [&](Transaction &t) { t.put("d\x7f\x7fx", ""); }},
        {"/vrfs/vrf[vrf-name=a]: a value of no leaf",
         [&](Transaction &t) { t.put("d" + key(t, "/vrfs/vrf", "a|"), key(t, instance, "|")); }},
        {"four-byte-as[as=x]/as: ",
         [&](Transaction &t) {
             t.put("d" + key(t, instance, "core|") + key(t, as, "0|") + key(t, as + "/four-byte-as", "x|"), "");
         }},
        {"/bgp/instance[instance-name=gone]: there are entries in it",
         [&](Transaction &t) { t.put("d" + key(t, instance, "gone|") + key(t, as, "0|"), ""); }},
    };
    const ScratchDirectory scratch;
    const Store store(scratch / "db", schema, Access::write);
    edit(store, schema, start);
    edit(store, schema, "/vrfs/vrf[vrf-name=blue]/bgp-global/route-distinguisher/type=as");
    for (const auto &[expected, spoil] : cases) {
        Transaction transaction = store.begin(Access::write);
        spoil(transaction);
        std::string found;
        for (const std::string &problem : check_records(transaction, schema).problems) {
            found += problem + '\n';
        }
        EXPECT_TRUE(expected.empty() ? found.empty() : found.find(expected) != std::string::npos) << found;
    }
}

// A few bytes of the file anywhere, and of the page headers, where they do most.
TEST(Store, ThatIsDamagedEndsNoProcess) {
    const ScratchDirectory scratch;
    const Schema &schema = project_schema();
    {
        const Store store(scratch / "db", schema, Access::write);
        edit(store, schema, neighbors(600, "/description=" + std::string(60, 'x')));
        edit(store, schema, "@1/description=" + std::string(9000, 'y') + "\n@2/description=" + std::string(9000, 'z'));
        edit(store, schema, neighbors(250, "{delete}"));
    }
    const std::string sound = file_bytes(scratch / "db/data.mdb");
    std::mt19937 random = random_numbers();
    const auto used = [&](const fs::path &directory) {
        return in_child([&] {
            const std::string said = failure([&] {
                const Store store(directory, schema, Access::write);
                try {
                    fetch(store, schema, all);
                    edit(store, schema, neighbors(300, "/create="));
                    edit(store, schema, "/bgp{delete}");
                } catch (const Refused &) {}
            });
            return said.empty() ? 0 : said.find(directory.string()) != std::string::npos ? 1 : 2;
        });
    };
    std::map<int, int> ends;
    for (int round = 0; round < 100; ++round) {
        std::string bytes = sound;
        for (unsigned i = 1 + random() % 3; i > 0; --i) {
            const std::size_t page = random() % (bytes.size() / 4096) * 4096;
            bytes[page + random() % (round % 2 == 0 ? 4096 : 48)] = static_cast<char>(random());
        }
        write_file(scratch / "damaged/data.mdb", bytes);
        const int end = used(scratch / "damaged");
        ++ends[end];
        EXPECT_TRUE(WIFEXITED(end) && WEXITSTATUS(end) < 2) << "round " << round << ", ended as " << end;
        fs::remove_all(scratch / "damaged");
    }
    EXPECT_GT(ends.size(), 1U) << "damage is seen, or does no harm";
}

} // namespace
} // namespace yfw::test
