// Clear-text passwords do not outlive the request, and the key that they are enciphered with is made once.
#include "engine.h"
#include "store_fixture.h"

#include <array>
#include <thread>

namespace yfw::test {
namespace {

// Both the same, the second not as it stands in memory.
std::string secret() {
    std::string text = "ivoufs3.cvu.mpohfs.uibo.b.tipsu.tusjoh";
    for (char &character : text) {
        --character;
    }
    return text;
}

// How often the secret stands in this process's memory, but for its stack.
int copies_of_secret() {
    constexpr std::size_t largest = std::size_t{1} << 30U; // beyond: the store's map, a sanitizer's shadow
    std::string wanted = secret();
    for (char &character : wanted) {
        ++character;
    }
    std::ifstream maps("/proc/self/maps");
    std::ifstream memory("/proc/self/mem", std::ios::binary);
    int copies = 0;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0, end = 0;
        std::array<char, 5> rights{};
        std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, rights.data());
        if (rights[1] != 'w' || line.find("[stack]") != std::string::npos || end - begin > largest) {
            continue;
        }
        std::string bytes(end - begin, '\0');
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        for (char &character : bytes) {
            ++character;
        }
        for (std::size_t at = 0; (at = bytes.find(wanted, at)) != std::string::npos; ++at) {
            ++copies;
        }
    }
    return copies;
}

constexpr std::string_view json =
    R"({"network-instances":{"network-instance":[{"name":"DEFAULT","protocols":{"protocol":[{"identifier":"BGP",)"
    R"("name":"core","bgp":{"global":{"config":{"as":65000}},"neighbors":{"neighbor":[{"neighbor-address":"::1",)"
    R"("config":{"auth-password":"@"}},{"neighbor-address":"::2","config":{"auth-password":"@"}}]}}}]}}]}})";

TEST(Secrets, AreNotLeftInMemory) {
    const auto xml = [](std::string_view before, std::string_view behind) {
        return R"(<network-instances xmlns="http://openconfig.net/yang/network-instance"><network-instance><name>)"
               "DEFAULT</name><protocols><protocol><identifier>BGP</identifier><name>core</name><bgp><global><config>"
               "<as>65000</as></config></global><neighbors><neighbor><neighbor-address>::1</neighbor-address><config>"
               "<auth-password>" +
               std::string(before) + "@" + std::string(behind) +
               "</auth-password></config></neighbor></neighbors></bgp></protocol></protocols></network-instance>"
               "</network-instances>";
    };
    const Engine engine({{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr);
    const ScratchDirectory scratch;
    const Store store(scratch / "db", engine.schema(), Access::write);
    for (const std::string &document : {std::string(json), xml("", ""), xml("<![CDATA[", "]]>"), xml("&#65;", "&lt;"),
                                        xml(std::string(100, 'x'), std::string(500, 'y'))}) {
        std::string text;
        text.reserve(document.size() + 1000);
        for (const char character : document) {
            for (const char letter : character == '@' ? secret() : std::string(1, character)) {
                text += letter;
            }
        }
        EXPECT_GT(copies_of_secret(), 0);
        Transaction transaction = store.begin(Access::write);
        const StoreKey key(transaction, KeyUse::edit);
        engine.edit(text, guess_syntax(text), {}, transaction);
        transaction.commit();
        text = std::string();
        EXPECT_EQ(copies_of_secret(), 0) << document;
    }
}

TEST(Secrets, HaveOneKeyWhoeverIsFirst) {
    const ScratchDirectory scratch;
    write_file(scratch / "edit.json", json);
    for (int round = 0; round < 10; ++round) {
        const std::string db = (scratch / ("db" + std::to_string(round))).string();
        std::array<int, 4> codes{};
        std::vector<std::thread> runs;
        for (int &code : codes) {
            runs.emplace_back([&] {
                code = std::system((shell_word(YFW_COMMAND) + " --db " + shell_word(db) + " edit " +
                                    shell_word(scratch / "edit.json") + " >" + shell_word(db + ".out"))
                                       .c_str());
            });
        }
        for (std::thread &run : runs) {
            run.join();
        }
        EXPECT_EQ(codes, (std::array<int, 4>{}));
        const auto files = std::distance(fs::directory_iterator(db), fs::directory_iterator());
        EXPECT_EQ(files, 3) << "data, lock and key";
    }
}

} // namespace
} // namespace yfw::test
