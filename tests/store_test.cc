// The store and the application of edits to it.
#include "store/check.h"
#include "store_fixture.h"

#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <functional>
#include <map>
#include <random>

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

struct EditCase {
    const char *name;
    std::string edit;
    std::string result; // what is stored then; of a refused edit the path refused
    Reason refused = Reason{};
    Round round = Round::sets;
};

std::string sorted(const std::string &lines) {
    std::istringstream stream(lines);
    std::vector<std::string> all_lines;
    for (std::string line; std::getline(stream, line);) {
        all_lines.push_back(line + '\n');
    }
    std::sort(all_lines.begin(), all_lines.end());
    std::string text;
    for (const std::string &line : all_lines) {
        text += line;
    }
    return text;
}

TEST(Edit, EveryOperationOnEveryKindOfNode) {
    const std::string activate = "@1/neighbor-afs/neighbor-af[af-name=ipv4-unicast]/activate=";
    const std::string hold = "@1/timers/hold-time=90";
    const std::string keepalive = "@1/timers/keepalive-interval=30";
    const std::string af = "~/default-vrf/global/global-afs/global-af[af-name=ipv4-unicast]";
    const std::string router_id = "default-vrf/global/router-id=192.0.2.";
    const std::string other_as = "/bgp/instance[instance-name=core]/instance-as[as=1]";
    const std::string old_as = "/bgp/instance[instance-name=core]/instance-as[as=0]";
    const std::vector<EditCase> cases{
        {"merge of leaves", "@1/timers/hold-time=9\n@1/description=a",
         but({hold}, "@1/timers/hold-time=9\n@1/description=a\n")},
        {"merge of an entry alone", "@9", start + "@9\n"},
        {"merge of a container that is nothing by itself", "@10/timers", start},
        {"merge of a presence container", af + "/ospf-routes", start + af + "/ospf-routes\n"},
        {"replace of an entry", "@1{replace}/description=new",
         but({"@1/create=", hold, keepalive, activate}, "@1/description=new\n")},
        {"replace of a container", "@1/timers{replace}/hold-time=9", but({hold, keepalive}, "@1/timers/hold-time=9\n")},
        {"replace of what is not there", "@10/description{replace}=x", start + "@10/description=x\n"},
        {"delete of an entry, not of its longer namesake", "@1{delete}",
         but({"@1/create=", hold, keepalive, activate})},
        {"delete of a container with entries", "@1/neighbor-afs{delete}", but({activate})},
        {"delete of a leaf, without a value", "@1/timers/hold-time{delete}", but({hold})},
        {"delete of the last leaf leaves the entry", "@10/create{delete}", but({"@10/create="}, "@10\n")},
        {"delete of a missing leaf", "@10/description{delete}", start},
        {"delete of a missing entry", "@9{delete}", start},
        {"a create, which is none of a native edit's", "@1/description=x\n@9{create}", "@9", Reason::unknown_operation},
        {"remove of a missing entry", "@9{remove}/description=x", start},
        {"remove of a missing leaf", "@10/description{remove}", start},
        {"remove of an entry of a list never used", "/vrfs/vrf[vrf-name=blue]{remove}", start},
        {"remove of a presence container", af + "/static-routes{remove}", but({af + "/static-routes"}, af + "\n")},
        {"remove of a top-level container", "/bgp{remove}", ""},
        {"deletes only: what is around them is left alone",
         "@1/description=x\n@9/create=\n@1/timers{delete}\n@10/description{delete}",
         but({hold, keepalive}),
         {},
         Round::deletes},
        {"an entry without its key", "@/description=x", "@", Reason::missing_key},
        {"one of two cases", "@1/neighbor-cluster-id/cluster-id-number=7",
         start + "@1/neighbor-cluster-id/cluster-id-number=7\n"},
        {"the other one drives it out",
         "@1/neighbor-cluster-id/cluster-id-number=7\n@1/neighbor-cluster-id/cluster-id-address=1.1.1.1",
         start + "@1/neighbor-cluster-id/cluster-id-address=1.1.1.1\n"},
        {"one entry too many", other_as, other_as, Reason::constraint},
        {"another entry in place of the only one", other_as + '\n' + old_as + "{delete}", other_as + '\n'},
    };
    for (const EditCase &row : cases) {
        SCOPED_TRACE(row.name);
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
    const std::string n = "@1";
    const std::vector<std::tuple<std::string, Reason, std::string>> cases{
        {n + "/timers/hold-time=2", Reason::invalid_value, "\"2\""},
        {n + "/timers/hold-time", Reason::invalid_value, "no value"},
        {n + "/password/password=", Reason::invalid_value, "does not take the value"},
        {n + "/timers/hold-time{remove}=2", Reason{}, ""},
        {n + "/create", Reason{}, ""},
        {"@300", Reason::invalid_value, "10.0.0.300"},
        {"@300{delete}", Reason::invalid_value, "10.0.0.300"},
        {"/vrfs/vrf[vrf-name=blue]/bgp-global/route-distinguisher/type=" + std::string(100, 'x'), Reason::invalid_value,
         "\"" + std::string(60, 'x') + "...\""},
    };
    for (const auto &[line, reason, text] : cases) {
        SCOPED_TRACE(line);
        Arena arena;
        try {
            check_native(project_schema(), make_tree(arena, project_schema(), line));
            EXPECT_EQ(reason, Reason{});
        } catch (const Refused &refused) {
            EXPECT_EQ(refused.code(), static_cast<cerrno>(reason));
            EXPECT_NE(std::string(refused.what()).find(text), std::string::npos) << refused.what();
        }
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
    EXPECT_EQ(in_child([&] {
                  if (::getuid() == 0 && ::setuid(65534) != 0) {
                      return 1;
                  }
                  const bool reads =
                      sorted(fetch(Store(scratch / "db", schema, Access::read), schema, all)) == sorted(start);
                  const std::string said = failure([&] { Store(scratch / "db", schema, Access::write); });
                  return reads && said.find("may not be written") != std::string::npos ? 0 : 2;
              }),
              0);
    // It cannot be noted as a reader: it and writers wait for one another.
    fs::permissions(scratch / "db", static_cast<fs::perms>(0755));
    fs::permissions(scratch / "db/data.mdb", static_cast<fs::perms>(0644));
    const Store writer(scratch / "db", schema, Access::write);
    fs::permissions(scratch / "db/lock.mdb", static_cast<fs::perms>(0444));
    EXPECT_EQ(in_child([&] {
                  if (::getuid() == 0 && ::setuid(65534) != 0) {
                      return 1;
                  }
                  const Store reader(scratch / "db", schema, Access::read, {.lock_wait = {}});
                  const auto held = reader.begin(Access::read);
                  return 0;
              }),
              0);
    const Transaction writing = writer.begin(Access::write);
    EXPECT_EQ(in_child([&] {
                  if (::getuid() == 0 && ::setuid(65534) != 0) {
                      return 1;
                  }
                  const std::string said =
                      failure([&] { Store(scratch / "db", schema, Access::read, {.lock_wait = {}}); });
                  return said.find("in use") != std::string::npos ? 0 : 2;
              }),
              0);
}

TEST(Store, IsCheckedRecordByRecord) {
    const Schema &schema = project_schema();
    const auto key = [&schema](const Transaction &transaction, const std::string &path, const std::string &values) {
        std::string text;
        append_number(text, transaction.number(*schema.find(path)));
        return text + values;
    };
    const std::vector<std::pair<std::string, std::function<void(Transaction &)>>> cases{
        {"", [](Transaction &) {}},
        {"a record of an unknown kind", [](Transaction &t) { t.put("x", ""); }},
        {"/vrfs/vrf[vrf-name=a]: its values cannot be told apart",
         [&](Transaction &t) { t.put("d" + key(t, "/vrfs/vrf", std::string("a\0", 2)), "x"); }},
        {"/vrfs/vrf: an entry without its keys", [&](Transaction &t) { t.put("d" + key(t, "/vrfs/vrf", "a"), ""); }},
        {"/: an entry of no list", [&](Transaction &t) { t.put("d\x7f\x7fx", ""); }},
        {"/vrfs/vrf[vrf-name=a]: a value of no leaf",
         [&](Transaction &t) {
             t.put("d" + key(t, "/vrfs/vrf", std::string("a\0", 2)), key(t, "/bgp/instance", std::string(1, '\0')));
         }},
        {"four-byte-as[as=x]/as: ",
         [&](Transaction &t) {
             const std::string instance = "d" + key(t, "/bgp/instance", std::string("core\0", 5)) +
                                          key(t, "/bgp/instance/instance-as", std::string("0\0", 2));
             t.put(instance + key(t, "/bgp/instance/instance-as/four-byte-as", std::string("x\0", 2)), "");
         }},
        {"/bgp/instance[instance-name=gone]: there are entries in it",
         [&](Transaction &t) {
             t.put("d" + key(t, "/bgp/instance", std::string("gone\0", 5)) +
                       key(t, "/bgp/instance/instance-as", std::string("0\0", 2)),
                   "");
         }},
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
    const char *given = std::getenv("YFW_TEST_SEED");
    const auto seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device()();
    std::printf("YFW_TEST_SEED=%u\n", seed);
    std::mt19937 random(seed);
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
