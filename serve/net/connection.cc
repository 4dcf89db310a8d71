#include "serve/net/connection.h"

#include "serve/net/secret.h"

#include <linux/sockios.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

namespace yfw::serve {

namespace {

constexpr std::size_t turn = std::size_t{256} << 10U;        // bytes of one connection in a turn of the loop
constexpr std::size_t most_waiting = std::size_t{64} << 10U; // for the peer, while more is read from it
constexpr auto close_time = std::chrono::seconds(10);
constexpr auto linger_time = std::chrono::seconds(1);
constexpr auto shortest_stall = std::chrono::seconds(1);

Credentials credentials_of(int socket) {
    Credentials credentials;
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.uid == credentials.user) {
        return credentials;
    }
    credentials.user = peer.uid;
    credentials.group = peer.gid;
    credentials.process = peer.pid;
    size = 0;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, nullptr, &size) != 0 && errno == ERANGE) {
        credentials.groups.resize(size / sizeof(gid_t));
        if (::getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, credentials.groups.data(), &size) != 0) {
            credentials.groups.clear();
        }
    }
    return credentials;
}

// Sets a flag for as long as it is there.
class Marked {
  public:
    explicit Marked(bool &flag) : flag_(flag), before_(std::exchange(flag, true)) {}
    ~Marked() { flag_ = before_; }
    Marked(const Marked &) = delete;
    Marked &operator=(const Marked &) = delete;

  private:
    bool &flag_;
    bool before_;
};

} // namespace

Connection::Connection(Listener &listener, Descriptor socket)
    : listener_(listener),
      loop_(listener.loop_),
      socket_(std::move(socket)),
      credentials_(credentials_of(socket_.get())),
      output_holding_(&listener.budget_),
      read_at_(Loop::Clock::now()),
      written_at_(read_at_),
      self_(std::make_shared<Connection *>(this)) {}

Connection::~Connection() {
    forget();
    speaker_.reset();
    wipe(kept_);
}

void Connection::begin(const SpeakerFactory &factory) {
    loop_.watch(socket_.get(), 0, [this](std::uint32_t events) { handle(events); });
    try {
        const Marked busy(busy_);
        speaker_ = factory(*this);
    } catch (const std::exception &error) {
        listener_.options_.tell(std::string("a connection is refused: ") + error.what());
    }
    if (speaker_ == nullptr) {
        close();
    }
    advance();
}

void Connection::finish() {
    finishing_ = true;
    if (!held_) {
        close();
    }
}

// Whether the speaker would be offered something.
bool Connection::offering() const {
    return state_ == State::open && !held_ && !finishing_ && output_bytes_ <= most_waiting;
}

void Connection::handle(std::uint32_t events) {
    if ((events & (EPOLLERR | EPOLLHUP)) != 0) {
        abandon(""); // nobody is there to take anything
        return;
    }
    if ((events & EPOLLOUT) != 0) {
        write();
    }
    if ((events & EPOLLIN) != 0 && state_ == State::lingering) {
        discard();
    } else if ((events & EPOLLIN) != 0) {
        receive();
    }
    advance();
}

void Connection::receive() {
    std::vector<char> &buffer = listener_.buffer_;
    for (std::size_t got = 0; got < turn && offering() && kept_.empty() && !ended_;) {
        const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            if (errno != EAGAIN && errno != EWOULDBLOCK) {
                abandon("");
            }
            return;
        }
        ended_ = count == 0;
        read_at_ = Loop::Clock::now();
        got += static_cast<std::size_t>(count);
        const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
        const std::size_t taken = offer(bytes);
        if (taken < bytes.size() && state_ == State::open) {
            kept_.assign(bytes.substr(taken));
            kept_from_ = 0;
        }
        explicit_bzero(buffer.data(), bytes.size());
    }
}

// What comes after the last answer: read, so that a close does not make the peer lose that.
void Connection::discard() {
    std::vector<char> &buffer = listener_.buffer_;
    const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
    if (count == 0 || (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)) {
        abandon("");
    } else if (count > 0) {
        explicit_bzero(buffer.data(), static_cast<std::size_t>(count));
    }
}

std::size_t Connection::offer(std::string_view bytes) {
    std::size_t taken = 0;
    try {
        const Marked busy(busy_);
        while (taken < bytes.size() && offering()) {
            const std::size_t count = speaker_->take(bytes.substr(taken));
            taken += count;
            if (count == 0 && offering()) {
                abandon("a connection is closed: what was received is not taken");
            }
        }
    } catch (const std::exception &error) {
        abandon(std::string("a connection is closed: ") + error.what());
    }
    return taken;
}

void Connection::offer_kept() {
    if (!kept_.empty()) {
        kept_from_ += offer(std::string_view(kept_).substr(kept_from_));
        if (kept_from_ == kept_.size() || state_ != State::open) {
            wipe(kept_);
            std::string().swap(kept_);
            kept_from_ = 0;
        }
    }
    advance();
}

void Connection::offer_later() {
    loop_.post([self = std::weak_ptr<Connection *>(self_)] {
        if (const auto held = self.lock(); held != nullptr) {
            (*held)->offer_kept();
        }
    });
}

void Connection::hold(bool held) {
    if (held_ && !held) {
        offer_later();
    }
    held_ = held;
    if (!busy_) {
        advance();
    }
}

void Connection::send(std::string bytes) {
    if (state_ != State::open || bytes.empty()) {
        wipe(bytes);
        return;
    }
    const bool first = output_.empty();
    output_bytes_ += bytes.size();
    output_held_ += bytes.capacity();
    output_.push_back(std::move(bytes));
    {
        const Marked busy(busy_);
        if (first) {
            written_at_ = Loop::Clock::now();
            write();
        }
        if (state_ == State::open && !output_holding_.resize(output_held_, true)) {
            abandon("a connection is closed: the answers that wait for all peers together are more than " +
                    std::to_string(2 * listener_.budget_.limit()) + " bytes");
        }
    }
    advance();
}

void Connection::write() {
    for (std::size_t sent = 0; sent < turn && !output_.empty();) {
        std::array<iovec, 16> pieces{};
        std::size_t count = 0;
        for (; count < std::min(pieces.size(), output_.size()); ++count) {
            const std::size_t from = count == 0 ? output_from_ : 0;
            pieces.at(count) = {output_[count].data() + from, output_[count].size() - from};
        }
        msghdr message{};
        message.msg_iov = pieces.data();
        message.msg_iovlen = count;
        const ssize_t bytes = ::sendmsg(socket_.get(), &message, MSG_NOSIGNAL);
        if (bytes < 0 && errno == EINTR) {
            continue;
        }
        if (bytes < 0) {
            if (errno != EAGAIN && errno != EWOULDBLOCK) {
                abandon("");
            }
            return;
        }
        sent += static_cast<std::size_t>(bytes);
        written(static_cast<std::size_t>(bytes));
    }
}

void Connection::written(std::size_t bytes) {
    const bool full = output_bytes_ > most_waiting;
    written_at_ = Loop::Clock::now();
    output_bytes_ -= bytes;
    output_from_ += bytes;
    while (!output_.empty() && output_from_ >= output_.front().size()) {
        output_from_ -= output_.front().size();
        output_held_ -= output_.front().capacity();
        wipe(output_.front());
        output_.pop_front();
    }
    if (output_held_ < output_holding_.bytes()) {
        output_holding_.resize(output_held_);
    }
    if (full && output_bytes_ <= most_waiting && !kept_.empty()) {
        offer_later();
    }
}

void Connection::close() {
    if (state_ != State::open) {
        return;
    }
    state_ = State::closing;
    close_timer_ = loop_.after(close_time, [this] {
        close_timer_ = 0;
        abandon("a connection is closed: its peer did not take the last answer in time");
    });
    if (!busy_) {
        advance();
    }
}

// Not while the speaker is at work: it may be about to hold, or to send.
void Connection::advance() {
    if (state_ == State::gone) {
        return;
    }
    if (!held_ && !busy_ && (finishing_ || (ended_ && kept_.empty() && output_.empty()))) {
        close();
    }
    if (state_ == State::closing && output_.empty()) {
        state_ = State::lingering;
        ::shutdown(socket_.get(), SHUT_WR);
        loop_.cancel(close_timer_);
        close_timer_ = loop_.after(ended_ ? Loop::Clock::duration::zero() : linger_time, [this] {
            close_timer_ = 0;
            abandon("");
        });
        listener_.reap_later(); // of the speaker
    }
    const bool reading = state_ == State::lingering || (offering() && kept_.empty());
    const std::uint32_t events = (reading && !ended_ ? static_cast<std::uint32_t>(EPOLLIN) : 0U) |
                                 (output_.empty() ? 0U : static_cast<std::uint32_t>(EPOLLOUT));
    if (events != events_) {
        loop_.watch(socket_.get(), events);
        events_ = events;
    }
    if (!output_.empty() && progress_timer_ == 0) {
        unread_ = 0;
        progress_timer_ = loop_.after(listener_.options_.write_timeout / 4, [this] { check_progress(); });
    }
}

// A peer that takes little makes no room for more for a long time. What the kernel still has for it tells.
bool Connection::look_for_progress() {
    int unread = 0;
    if (::ioctl(socket_.get(), SIOCOUTQ, &unread) != 0) {
        return false;
    }
    const bool less = unread < std::exchange(unread_, unread);
    if (less) {
        written_at_ = Loop::Clock::now();
    }
    return less;
}

void Connection::check_progress() {
    progress_timer_ = 0;
    if (output_.empty()) {
        return;
    }
    if (!look_for_progress() && Loop::Clock::now() - written_at_ >= listener_.options_.write_timeout) {
        abandon("a connection is closed: its peer takes nothing");
        return;
    }
    progress_timer_ = loop_.after(listener_.options_.write_timeout / 4, [this] { check_progress(); });
}

// How long the peer has been the reason that memory is held; zero where it is not, or not for long.
Loop::Clock::duration Connection::stalled() {
    Loop::Clock::duration time{};
    if (state_ == State::gone || busy_) {
        return time;
    }
    if (output_held_ > Budget::free_of_each) {
        look_for_progress();
        time = Loop::Clock::now() - written_at_;
    } else if (!held_ && speaker_ != nullptr && speaker_->held_bytes() > Budget::free_of_each) {
        time = Loop::Clock::now() - read_at_;
    }
    return time < shortest_stall ? Loop::Clock::duration::zero() : time;
}

void Connection::abandon(const std::string &why) {
    if (state_ == State::gone) {
        return;
    }
    if (!why.empty()) {
        listener_.options_.tell(why);
    }
    forget();
    listener_.reap_later();
}

// Everything but the speaker, which may be calling.
void Connection::forget() {
    if (std::exchange(state_, State::gone) == State::gone) {
        return;
    }
    loop_.unwatch(socket_.get());
    socket_ = Descriptor();
    loop_.cancel(std::exchange(progress_timer_, 0));
    loop_.cancel(std::exchange(close_timer_, 0));
    for (std::string &bytes : output_) {
        wipe(bytes);
    }
    output_.clear();
    output_bytes_ = output_held_ = output_from_ = 0;
    output_holding_.resize(0);
    if (!busy_) { // else the speaker may be looking at it
        wipe(kept_);
    }
}

} // namespace yfw::serve
