// The transport of the service: framings as a table, and a small speaker at the end of real sockets.
#include "serve/net/connection.h"
#include "serve/net/framing.h"
#include "serve/net/worker.h"
#include "tests/scratch.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <atomic>
#include <future>
#include <set>

namespace {

// What is freed while this is set must not have the password in it.
thread_local bool watching = false;
thread_local int left_behind = 0;
const std::string password = std::string("hunter") + std::to_string(222222);

void release(void *memory) noexcept {
    const std::string_view block(static_cast<const char *>(memory), memory == nullptr ? 0 : malloc_usable_size(memory));
    left_behind += watching && block.find(password) != std::string_view::npos ? 1 : 0;
    std::free(memory);
}

} // namespace

void *operator new(std::size_t size) {
    void *memory = std::calloc(1, size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void operator delete(void *memory) noexcept {
    release(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    release(memory);
}

namespace yfw::serve {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Cut = std::function<std::size_t()>;

// The messages, each with a bar behind it; then "!" for a stream that cannot be read, "+" for too large a message.
std::string heard(Framing framing, std::string_view input, const Cut &cut, std::size_t most = 20) {
    Budget budget(1U << 24U);
    Deframer deframer(budget, most);
    deframer.use(framing);
    std::string result;
    try {
        while (!input.empty()) {
            std::string_view piece = input.substr(0, cut());
            input.remove_prefix(piece.size());
            while (!piece.empty()) {
                piece.remove_prefix(deframer.take(piece));
                if (deframer.complete()) {
                    Secret message = deframer.release();
                    EXPECT_EQ(std::string(Secret::room, '\0'),
                              std::string(message.text().data() + message.size(), Secret::room));
                    result.append(message.view()).append("|");
                }
            }
        }
    } catch (const FramingFault &fault) {
        result += fault.kind() == FramingFault::Kind::malformed ? "!" : "+";
    }
    return result;
}

TEST(Framings, AreReadHoweverTheyAreCut) {
    constexpr Framing marked = Framing::end_marker, chunked = Framing::chunked;
    const std::string twenty(20, 'x');
    const std::vector<std::tuple<Framing, std::string, std::string>> rows{
        {marked, "a]]>]]>b]]>]]>c", "a|b|"},
        {marked, "]]>]]>]]]]>]]>]]>]>]]>]]>", "|]]|]]>]>|"},
        {marked, "a]]>]]]]>]]]>]]>", "a]]>]]]]>]|"},
        {marked, "]]>]x]]>]]>", "]]>]x|"},
        {marked, twenty + "]]>]]>" + twenty + "]]]>]]>", twenty + "|+"},
        {marked, std::string(19, ']') + "x]]>]]>", std::string(19, ']') + "x|"},
        {chunked, "\n#1\na\n#10\n]]>]]>\n#1\n\n##\n\n#2\nbc\n##\n", "a]]>]]>\n#1\n|bc|"},
        {chunked, "\n#20\n" + twenty + "\n##\n\n#19\n" + twenty.substr(1) + "\n#2\nxx", twenty + "|+"},
        {chunked, "\n#4294967295\n", "+"},
        {chunked, "\n#4294967296\n", "!"},
        {chunked, "\n#18446744073709551615\n", "!"},
        {chunked, "\n#18446744073709551617\na", "!"},
        {chunked, "\n#0\n", "!"},
        {chunked, "\n#-1\n", "!"},
        {chunked, "\n#01\na", "!"},
        {chunked, "\n#\n", "!"},
        {chunked, "\n#1a\n", "!"},
        {chunked, "\n#1\r\n", "!"},
        {chunked, "\n##\n", "!"},
        {chunked, "\n#1\na\n##\n\n##\n", "a|!"},
        {chunked, "\n#1\na\n###", "!"},
        {chunked, "\n#1\nab", "!"},
        {chunked, "#1\na", "!"},
        {chunked, "a]]>]]>", "!"},
        {chunked, "\n#1\na\n##", ""},
    };
    std::mt19937 random = test::random_numbers();
    for (const auto &[framing, input, expected] : rows) {
        SCOPED_TRACE(input);
        EXPECT_EQ(heard(framing, input, [] { return std::string::npos; }), expected);
        for (std::size_t longest = 1; longest < 8; ++longest) { // 1: byte by byte
            EXPECT_EQ(heard(framing, input, [&] { return 1 + random() % longest; }), expected);
        }
    }
}

// Each is done at once when the time is linear, and takes minutes when it is not.
TEST(Framings, LargeOnesTakeLinearTimeAndBoundedMemory) {
    const std::string brackets(std::size_t{4} << 20U, ']');
    EXPECT_EQ(heard(
                  Framing::end_marker, brackets + ">]]>", [] { return 1; }, 1U << 23U)
                  .size(),
              brackets.size() - 1);
    std::string chunks, framed;
    for (int i = 0; i < 100'000; ++i) {
        chunks += "\n#1\nx";
    }
    EXPECT_EQ(heard(
                  Framing::chunked, chunks + "\n##\n", [] { return 3; }, 100'000),
              std::string(100'000, 'x') + "|");
    frame(framed, brackets, Framing::chunked);
    Budget budget(std::size_t{3} << 20U);
    {
        Deframer modest(budget, 1U << 30U), greedy(budget, 1U << 30U);
        modest.use(Framing::chunked);
        greedy.use(Framing::chunked);
        EXPECT_EQ(modest.take("\n#1000000000\n"), 13U);
        EXPECT_EQ(budget.used(), 0U);
        EXPECT_EQ(greedy.take(std::string_view(framed).substr(0, 1U << 20U)), 1U << 20U);
        EXPECT_GE(budget.used(), (1U << 20U) - Budget::free_of_each);
        EXPECT_THROW(greedy.take(std::string_view(framed).substr(1U << 20U)), FramingFault);
        EXPECT_LE(budget.used(), budget.limit());
    }
    EXPECT_EQ(budget.used(), 0U);
}

TEST(Framings, PasswordsStayInNoMemoryThatIsGivenBack) {
    Budget budget(1U << 24U);
    watching = true;
    for (const Framing framing : {Framing::end_marker, Framing::chunked}) {
        std::string framed;
        frame(framed, password, framing);
        frame(framed, std::string(5000, 'x'), framing);
        Deframer deframer(budget, 1U << 24U);
        deframer.use(framing);
        for (const char character : framed) {
            deframer.take({&character, 1});
            if (deframer.complete()) {
                Secret message = deframer.release(), moved = std::move(message);
                message = std::move(moved);
            }
        }
        deframer.take(std::string_view(framed).substr(0, 20)); // one that is not complete
        wipe(framed);
    }
    watching = false;
    EXPECT_EQ(left_behind, 0);
}

// Messages are commands: "say X", "big BYTES", "bye BYTES"; "work X" is said by the worker's thread, with the
// connection held.
class Echo : public Speaker {
  public:
    Echo(Connection &connection, Budget &budget, Worker &worker, std::atomic<int> &alive)
        : connection_(connection),
          deframer_(budget, 1U << 24U),
          worker_(worker),
          alive_(alive),
          self_(std::make_shared<Echo *>(this)) {
        ++alive_;
    }
    ~Echo() override { --alive_; }
    std::size_t take(std::string_view bytes) override {
        const std::size_t taken = deframer_.take(bytes);
        if (deframer_.complete()) {
            const Secret message = deframer_.release();
            obey(std::string(message.view()));
        }
        return taken;
    }
    [[nodiscard]] std::size_t held_bytes() const override { return deframer_.held_bytes(); }

  private:
    void obey(const std::string &message) {
        if (message.starts_with("bye ")) {
            say(std::string(std::stoul(message.substr(4)), 'x'));
            connection_.close();
        } else if (message.starts_with("say ")) {
            say(message.substr(4));
        } else if (message.starts_with("big ")) {
            say(std::string(std::stoul(message.substr(4)), 'x'));
        } else if (message.starts_with("work ")) {
            connection_.hold(true);
            worker_.post([self = std::weak_ptr<Echo *>(self_), text = message.substr(5), &loop = connection_.loop()] {
                std::this_thread::sleep_for(2ms);
                loop.post([self, text] {
                    if (const auto echo = self.lock(); echo != nullptr) {
                        (*echo)->say(text);
                        (*echo)->connection_.hold(false);
                    }
                });
            });
        }
    }
    void say(const std::string &text) {
        std::string framed;
        frame(framed, text, Framing::end_marker);
        connection_.send(std::move(framed));
    }

    Connection &connection_;
    Deframer deframer_;
    Worker &worker_;
    std::atomic<int> &alive_;
    std::shared_ptr<Echo *> self_;
};

class Client {
  public:
    explicit Client(const fs::path &path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path.c_str());
        const timeval patience{10, 0};
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        connected_ = ::connect(socket_.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    }
    Client &send(const std::string &text) {
        ::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL);
        return *this;
    }
    Client &ask(const std::string &message) { return send(message + "]]>]]>"); }
    Client &shut() {
        ::shutdown(socket_.get(), SHUT_WR);
        return *this;
    }
    // Messages, with a bar behind each, until there are as many or the connection ends: "." then.
    std::string answers(int count = -1) {
        std::string result;
        while (count != 0) {
            if (const std::size_t end = got_.find("]]>]]>"); end != std::string::npos) {
                result += got_.substr(0, end) + "|";
                got_.erase(0, end + 6);
                --count;
                continue;
            }
            std::array<char, 65536> buffer{};
            const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
            if (size <= 0) {
                return result + got_ + (size == 0 || errno == ECONNRESET ? "." : "never");
            }
            got_.append(buffer.data(), static_cast<std::size_t>(size));
        }
        return result;
    }
    [[nodiscard]] bool connected() const { return connected_; }

  private:
    Descriptor socket_;
    std::string got_;
    bool connected_ = false;
};

// A listener on a loop with a thread of its own.
class Served {
  public:
    explicit Served(ListenerOptions options = {}, std::size_t limit = std::size_t{8} << 20U) : budget_(limit) {
        options.tell = [this](const std::string &text) { told_.insert(text); };
        listener_ = std::make_unique<Listener>(
            loop_, budget_, UnixSocket{path().string(), 0620},
            [this](Connection &connection) {
                user_ = connection.credentials().user;
                return std::make_unique<Echo>(connection, budget_, worker_, alive_);
            },
            std::move(options));
        thread_ = std::thread([this] { loop_.run(); });
    }
    ~Served() { end(); }
    // All that was said of connections.
    std::set<std::string> end() {
        if (thread_.joinable()) {
            loop_.stop();
            thread_.join();
            listener_.reset();
        }
        return told_;
    }
    void finish() {
        std::promise<void> done;
        loop_.post([&] { listener_->finish([&] { done.set_value(); }); });
        EXPECT_EQ(done.get_future().wait_for(10s), std::future_status::ready);
    }
    [[nodiscard]] fs::path path() const { return scratch_ / "socket"; }
    [[nodiscard]] int alive() const { return alive_; }
    [[nodiscard]] uid_t user() const { return user_; }
    Budget &budget() { return budget_; }

  private:
    test::ScratchDirectory scratch_;
    std::atomic<int> alive_ = 0;
    std::atomic<uid_t> user_ = 0;
    std::set<std::string> told_;
    Loop loop_;
    Budget budget_;
    Worker worker_;
    std::unique_ptr<Listener> listener_;
    std::thread thread_;
};

bool comes_true(const std::function<bool()> &condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) {
        std::this_thread::sleep_for(10ms);
    }
    return condition();
}

TEST(Connections, FiveHundredAtOnceAndNotOneMore) {
    rlimit files{4096, 4096};
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::min<rlim_t>(4096, files.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &files);
    ListenerOptions options;
    options.most = 500;
    Served served(options);
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 500; ++i) {
        clients.push_back(std::make_unique<Client>(served.path()));
        clients.back()->send(i % 3 == 0 ? "" : "say half a mess"); // some mute, some halting
    }
    ASSERT_TRUE(comes_true([&] { return served.alive() == 500; }));
    EXPECT_EQ(served.user(), ::getuid());
    EXPECT_EQ(Client(served.path()).answers(), ".");
    for (int i = 1; i < 500; ++i) {
        clients[static_cast<std::size_t>(i)]->send(i % 3 == 0 ? "" : "age]]>]]>").ask("work " + std::to_string(i));
    }
    clients[0].reset();
    for (int i = 1; i < 20; ++i) { // the worker takes its time for each
        EXPECT_EQ(clients[static_cast<std::size_t>(i)]->answers(i % 3 == 0 ? 1 : 2),
                  (i % 3 == 0 ? "" : "half a message|") + std::to_string(i) + "|");
    }
    clients.clear(); // most of them with a request at work
    EXPECT_TRUE(comes_true([&] { return served.alive() == 0; }));
    EXPECT_EQ(Client(served.path()).ask("say well").answers(1), "well|");
}

TEST(Connections, PeersThatTakeNothingOrHaltHoldUpNobody) {
    ListenerOptions options;
    options.write_timeout = 2s;
    Served served(options);
    std::vector<std::unique_ptr<Client>> deaf;
    for (int i = 0; i < 24; ++i) { // of 1 MiB each, pipelined: 24 and 72 MiB, of which 8 may be held
        deaf.push_back(std::make_unique<Client>(served.path()));
        deaf.back()->ask("big 1048576").ask("big 1048576").ask("big 1048576");
    }
    Client halting(served.path());
    halting.send("say " + std::string(std::size_t{1} << 17U, 'x')); // one half of a message
    Client good(served.path());
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(good.ask("say on").answers(1), "on|");
        EXPECT_LE(served.budget().used(), 2 * served.budget().limit());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    std::this_thread::sleep_for(1100ms);
    EXPECT_EQ(good.ask("big 7000000").answers(1).size(), 7'000'001U) << "the ones that stand still make room";
    deaf.resize(23);
    EXPECT_TRUE(comes_true([&] { return served.alive() <= 2; })) << served.alive();
    EXPECT_TRUE(comes_true([&] { return served.budget().used() <= std::size_t{1} << 18U; }));
    EXPECT_EQ(good.ask("say still").answers(1), "still|");
    const std::set<std::string> told = served.end();
    for (const char *reason : {"memory is short", "takes nothing"}) {
        EXPECT_TRUE(std::any_of(told.begin(), told.end(), [&](const std::string &text) {
            return text.find(reason) != std::string::npos;
        })) << reason;
    }
}

TEST(Connections, AreAnsweredInFullBeforeTheyEnd) {
    Served served;
    Client half(served.path());
    half.ask("work a").ask("say b").ask("work c").ask("say " + std::string(100'000, 'd')).shut();
    EXPECT_EQ(half.answers(), "a|b|c|" + std::string(100'000, 'd') + "|.");
    Client large(served.path());
    large.ask("big 9000000").ask("say e").shut();
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(large.answers().size(), 9'000'001U + 3U);
    Client leaving(served.path());
    leaving.ask("bye 2000000").ask("say never");
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(leaving.answers(), std::string(2'000'000, 'x') + "|.");
    Client faulty(served.path());
    faulty.send(std::string((std::size_t{1} << 24U) + 1, 'x'));
    EXPECT_EQ(faulty.answers(), ".");
    Client idle(served.path()), at_work(served.path());
    at_work.ask("say now").ask("work later").ask("say never");
    EXPECT_EQ(at_work.answers(1), "now|");
    served.finish();
    EXPECT_EQ(at_work.answers(), "later|.");
    EXPECT_EQ(idle.answers(), ".");
    EXPECT_FALSE(Client(served.path()).connected());
}

std::string failure(const UnixSocket &socket) {
    Loop loop;
    Budget budget(1);
    try {
        const Listener listener(loop, budget, socket, nullptr);
        struct stat status {};
        ::lstat(socket.path.c_str(), &status);
        return std::to_string(status.st_mode & 07777U);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
}

TEST(Listeners, TakeOverStaleSocketsAndNoOthers) {
    Served served;
    EXPECT_NE(failure({served.path().string()}).find("in use"), std::string::npos);
    EXPECT_EQ(Client(served.path()).ask("say there").answers(1), "there|");
    const fs::path stale = served.path().string() + "-stale", file = served.path().string() + "-file";
    {
        const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, stale.c_str());
        ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    }
    EXPECT_EQ(failure({stale.string(), 0600}), std::to_string(0600));
    EXPECT_FALSE(fs::exists(stale));
    test::write_file(file, "mine");
    EXPECT_NE(failure({file.string()}).find("no socket"), std::string::npos);
    EXPECT_EQ(test::file_bytes(file), "mine");
    EXPECT_NE(failure({std::string(200, 'x')}).find("107 bytes"), std::string::npos);
}

TEST(Loops, TimersPostsAndSignals) {
    Loop loop;
    std::string order;
    std::promise<void> stopped;
    loop.on_stop([&] {
        order += "signal ";
        loop.stop();
    });
    Worker worker;
    const Loop::Timer never = loop.after(1ms, [&] { order += "never "; });
    loop.after(40ms, [&] { ::kill(::getpid(), SIGTERM); });
    loop.after(20ms, [&] { order += "second "; });
    loop.after(10ms, [&] {
        order += "first ";
        loop.cancel(never); // which has run by then
    });
    loop.cancel(loop.after(0ms, [&] { order += "cancelled "; }));
    worker.post([&] { loop.post([&] { order += "posted "; }); });
    worker.stop();
    EXPECT_FALSE(worker.post([] {}));
    loop.cancel(never);
    loop.run();
    EXPECT_EQ(order, "posted first second signal ");
}

// What the program prints for this input, and its exit code.
std::string subsystem(const std::string &input, const fs::path &socket, const fs::path &scratch) {
    test::write_file(scratch, input);
    const std::string line =
        test::shell_word(YFW_NETCONF) + " " + test::shell_word(socket) + " < " + test::shell_word(scratch) + " 2>&1";
    FILE *stream = ::popen(line.c_str(), "r");
    std::string output;
    for (int character = std::fgetc(stream); character != EOF; character = std::fgetc(stream)) {
        output += static_cast<char>(character);
    }
    return output + "-> " + std::to_string(WEXITSTATUS(::pclose(stream)));
}

TEST(Subsystem, JoinsStreamsToTheSocket) {
    Served served;
    const fs::path input = served.path().string() + "-input";
    std::string large = "say ";
    large += std::string(1'000'000, 'x') + "]]>]]>";
    EXPECT_EQ(subsystem(large + "work b]]>]]>", served.path(), input), large.substr(4) + "b]]>]]>-> 0");
    EXPECT_NE(subsystem("", served.path().string() + "-none", input).find("is yfwd running?\n-> 1"), std::string::npos);
    EXPECT_NE(subsystem("", served.path(), input).find("-> 1"), std::string::npos);
}

} // namespace
} // namespace yfw::serve
