// Joins its standard streams to the socket at which the daemon speaks NETCONF. sshd starts it as a subsystem.
#include "serve/net/descriptor.h"
#include "serve/net/socket_path.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using yfw::serve::Descriptor;

int complain(const std::string &text) {
    std::fprintf(stderr, "yfw-netconf: %s\n", text.c_str());
    return 1;
}

bool passing(int error) {
    return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

// One direction. The streams are others' as well, so they are left as they block; nothing is read or written that poll
// has not found ready.
class Pipe {
  public:
    Pipe(int from, int to) : from_(from), to_(to) {}

    [[nodiscard]] bool wants_input() const { return !ended_ && size_ < buffer_.size(); }
    [[nodiscard]] bool wants_output() const { return size_ > 0; }
    [[nodiscard]] bool done() const { return ended_ && size_ == 0; }
    [[nodiscard]] bool moved() const { return moved_; }

    // 0 or the error.
    int read() {
        const ssize_t count = ::read(from_, buffer_.data() + size_, buffer_.size() - size_);
        if (count < 0) {
            return passing(errno) ? 0 : errno;
        }
        ended_ = count == 0;
        moved_ = moved_ || count > 0;
        size_ += static_cast<std::size_t>(count);
        return 0;
    }
    int write() {
        ssize_t count = ::send(to_, buffer_.data(), size_, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0 && errno == ENOTSOCK) { // a pipe that is ready takes so much without blocking
            count = ::write(to_, buffer_.data(), std::min<std::size_t>(size_, PIPE_BUF));
        }
        if (count < 0) {
            return passing(errno) ? 0 : errno;
        }
        size_ -= static_cast<std::size_t>(count);
        std::memmove(buffer_.data(), buffer_.data() + count, size_);
        return 0;
    }

    // Nobody takes what comes.
    void give_up() {
        ended_ = true;
        size_ = 0;
    }

  private:
    int from_, to_;
    std::array<char, std::size_t{64} << 10U> buffer_{};
    std::size_t size_ = 0;
    bool ended_ = false, moved_ = false;
};

// Until the daemon has said its last; whether the client has, is passed on.
int join(int daemon) {
    Pipe requests(STDIN_FILENO, daemon), answers(daemon, STDOUT_FILENO);
    bool passed_on = false;
    while (!answers.done()) {
        if (requests.done() && !std::exchange(passed_on, true)) {
            ::shutdown(daemon, SHUT_WR);
        }
        const auto events = [](bool input, bool output) {
            return static_cast<short>((input ? POLLIN : 0) | (output ? POLLOUT : 0));
        };
        const short with_daemon = events(answers.wants_input(), requests.wants_output());
        std::array<pollfd, 3> streams{{{requests.wants_input() ? STDIN_FILENO : -1, POLLIN, 0},
                                       {STDOUT_FILENO, events(false, answers.wants_output()), 0},
                                       {with_daemon != 0 ? daemon : -1, with_daemon, 0}}};
        if (::poll(streams.data(), streams.size(), -1) < 0 && errno != EINTR) {
            return complain(std::string("poll: ") + std::strerror(errno));
        }
        int daemon_error = 0;
        if ((streams[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0 ||
            (streams[0].revents != 0 && requests.read() != 0) ||
            ((streams[1].revents & POLLOUT) != 0 && answers.write() != 0)) {
            return 1; // the client is gone
        }
        if (streams[2].revents != 0 && requests.wants_output() && requests.write() != 0) {
            requests.give_up(); // it may still have said why
        }
        if ((streams[2].revents & ~POLLOUT) != 0 && answers.wants_input()) {
            daemon_error = answers.read();
        }
        if (daemon_error != 0) {
            return complain(std::string("the connection to the daemon is lost: ") + std::strerror(daemon_error));
        }
    }
    return answers.moved() ? 0 : complain("the daemon takes no session: is this user one of its readers or writers?");
}

} // namespace

int main(int argc, char **argv) {
    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        std::fprintf(
            stderr,
            "usage: yfw-netconf [SOCKET]\n"
            "Joins its standard streams to the NETCONF socket of yfwd: SOCKET, else $YFW_NETCONF_SOCKET, else\n"
            "%s. In sshd_config: Subsystem netconf /usr/libexec/yfw-netconf\n",
            yfw::serve::netconf_socket);
        return 2;
    }
    const char *set = std::getenv("YFW_NETCONF_SOCKET");
    const std::string path = argc == 2 ? argv[1] : set != nullptr ? set : yfw::serve::netconf_socket;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return complain("the path of a socket has 1 to " + std::to_string(sizeof address.sun_path - 1) + " bytes");
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    std::signal(SIGPIPE, SIG_IGN);
    const Descriptor daemon(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!daemon.valid() || ::connect(daemon.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        const bool absent = errno == ENOENT || errno == ECONNREFUSED;
        return complain(path + ": " + std::strerror(errno) + (absent ? "; is yfwd running?" : ""));
    }
    return join(daemon.get());
}
