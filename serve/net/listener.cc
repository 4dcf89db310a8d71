#include "serve/net/connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace yfw::serve {

namespace {

constexpr std::size_t read_size = std::size_t{64} << 10U;
constexpr int accepted_in_a_turn = 64;
constexpr auto pause_time = std::chrono::milliseconds(100);

[[noreturn]] void fail(const std::string &what, int error = errno) {
    throw std::runtime_error(what + ": " + std::strerror(error));
}

Descriptor new_socket(int family) {
    Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.valid()) {
        fail("a socket");
    }
    return socket;
}

sockaddr_un address_of(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("the path of a socket has 1 to " + std::to_string(sizeof address.sun_path - 1) +
                                 " bytes: " + path);
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

// A socket that nobody listens at, as a process leaves it that was killed, goes.
void remove_stale(const std::string &path, const sockaddr_un &address) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return;
    }
    if (!S_ISSOCK(status.st_mode)) {
        throw std::runtime_error(path + " is there and is no socket");
    }
    const Descriptor probe = new_socket(AF_UNIX);
    if (::connect(probe.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 || errno == EAGAIN) {
        throw std::runtime_error(path + " is in use: another process listens at it");
    }
    if (errno != ECONNREFUSED) {
        fail(path);
    }
    if (::unlink(path.c_str()) != 0) {
        fail(path + " is left over and cannot be removed");
    }
}

Descriptor bound(const UnixSocket &wanted) {
    const sockaddr_un address = address_of(wanted.path);
    remove_stale(wanted.path, address);
    Descriptor socket = new_socket(AF_UNIX);
    // The file is made with this mode; it gets its own before anybody can connect.
    if (::fchmod(socket.get(), S_IRUSR | S_IWUSR) != 0 ||
        ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        fail(wanted.path);
    }
    if ((wanted.group != static_cast<gid_t>(-1) &&
         ::chown(wanted.path.c_str(), static_cast<uid_t>(-1), wanted.group) != 0) ||
        ::chmod(wanted.path.c_str(), wanted.mode) != 0) {
        const int error = errno;
        ::unlink(wanted.path.c_str());
        fail(wanted.path, error);
    }
    return socket;
}

Descriptor bound(const LoopbackPort &wanted) {
    Descriptor socket = new_socket(AF_INET);
    const int on = 1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(wanted.port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        fail("port " + std::to_string(wanted.port) + " of 127.0.0.1");
    }
    return socket;
}

std::uint16_t port_of(const Descriptor &socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&address), &size);
    return address.sin_family == AF_INET ? ntohs(address.sin_port) : std::uint16_t{0};
}

} // namespace

Listener::Listener(Loop &loop, Budget &budget, const std::variant<UnixSocket, LoopbackPort> &address,
                   SpeakerFactory factory, ListenerOptions options)
    : loop_(loop),
      budget_(budget),
      factory_(std::move(factory)),
      options_(std::move(options)),
      socket_(std::visit([](const auto &wanted) { return bound(wanted); }, address)),
      port_(port_of(socket_)),
      buffer_(read_size),
      self_(std::make_shared<Listener *>(this)) {
    struct stat status {};
    if (const auto *file = std::get_if<UnixSocket>(&address);
        file != nullptr && ::lstat(file->path.c_str(), &status) == 0) {
        path_ = file->path;
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
    if (::listen(socket_.get(), SOMAXCONN) != 0) {
        fail("listen");
    }
    loop_.watch(socket_.get(), EPOLLIN, [this](std::uint32_t) { accept(); });
    relief_ = budget_.add({[this] {
                               Loop::Clock::duration longest{};
                               most_stalled(&longest);
                               return longest;
                           },
                           [this] { close_most_stalled(); }});
}

Listener::~Listener() {
    self_.reset();
    connections_.clear();
    budget_.remove(relief_);
    stop_listening();
}

void Listener::stop_listening() {
    if (!socket_.valid()) {
        return;
    }
    loop_.cancel(std::exchange(pause_, 0));
    loop_.unwatch(socket_.get());
    socket_ = Descriptor();
    struct stat status {};
    // Another process may have put its own there.
    if (!path_.empty() && ::lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_) {
        ::unlink(path_.c_str());
    }
}

void Listener::accept() {
    for (int i = 0; i < accepted_in_a_turn; ++i) {
        Descriptor socket(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!socket.valid()) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                options_.tell(std::string("no connection can be taken for now: ") + std::strerror(errno));
                pause();
            }
            return;
        }
        if (connections_.size() < options_.most) {
            admit(std::move(socket));
        } else if (!std::exchange(full_, true)) {
            options_.tell("connections are refused: there are " + std::to_string(options_.most));
        }
    }
}

void Listener::admit(Descriptor socket) {
    connections_.push_back(std::unique_ptr<Connection>(new Connection(*this, std::move(socket))));
    connections_.back()->begin(factory_);
}

// The one that waits would wake the loop again at once.
void Listener::pause() {
    loop_.watch(socket_.get(), 0);
    pause_ = loop_.after(pause_time, [this] {
        pause_ = 0;
        loop_.watch(socket_.get(), EPOLLIN);
    });
}

void Listener::finish(std::function<void()> done) {
    done_ = std::move(done);
    finishing_ = true;
    stop_listening();
    for (const auto &connection : connections_) {
        connection->finish();
    }
    reap_later();
}

void Listener::reap_later() {
    if (!std::exchange(reaping_, true)) {
        loop_.post([self = std::weak_ptr<Listener *>(self_)] {
            if (const auto held = self.lock(); held != nullptr) {
                (*held)->reap();
            }
        });
    }
}

// From the loop itself: no speaker is within a call.
void Listener::reap() {
    reaping_ = false;
    std::list<std::unique_ptr<Connection>> gone;
    std::vector<std::unique_ptr<Speaker>> speakers;
    for (auto connection = connections_.begin(); connection != connections_.end();) {
        const auto next = std::next(connection);
        if ((*connection)->state_ == Connection::State::gone) {
            gone.splice(gone.end(), connections_, connection);
        } else if ((*connection)->state_ == Connection::State::lingering) {
            speakers.push_back(std::move((*connection)->speaker_));
        }
        connection = next;
    }
    speakers.clear();
    gone.clear();
    full_ = full_ && connections_.size() >= options_.most;
    if (finishing_ && connections_.empty() && done_) {
        std::exchange(done_, nullptr)();
    }
}

Connection *Listener::most_stalled(Loop::Clock::duration *longest) const {
    Connection *found = nullptr;
    for (const auto &connection : connections_) {
        if (const Loop::Clock::duration time = connection->stalled(); time > *longest) {
            *longest = time;
            found = connection.get();
        }
    }
    return found;
}

void Listener::close_most_stalled() {
    Loop::Clock::duration longest{};
    if (Connection *found = most_stalled(&longest); found != nullptr) {
        found->abandon("a connection is closed: memory is short, and its peer has stood still for longest");
        found->speaker_.reset(); // now: it is its memory that is wanted
    }
}

} // namespace yfw::serve
