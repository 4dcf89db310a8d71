// Connections of clients, and what listens for them.
#pragma once

#include "serve/net/budget.h"
#include "serve/net/descriptor.h"
#include "serve/net/loop.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace yfw::serve {

class Connection;
class Listener;

// Who is at the other end of a UNIX socket, as the kernel knew it when it connected. Of TCP: nobody, all -1 or 0.
struct Credentials {
    uid_t user = static_cast<uid_t>(-1);
    gid_t group = static_cast<gid_t>(-1);
    pid_t process = 0;
    std::vector<gid_t> groups; // the supplementary ones
};

// What speaks on a connection, which owns it. What it throws (std::exception) ends the connection and is told.
class Speaker {
  public:
    virtual ~Speaker() = default; // the connection is gone, or takes nothing more and has written all
    // What arrived, at most 64 KiB; returns how many bytes it took. It is offered the rest at once, or when it no
    // longer holds the connection. The bytes are wiped afterwards.
    virtual std::size_t take(std::string_view bytes) = 0;
    // What it keeps of a message that is not complete: when memory is short, who has most reason to be closed.
    [[nodiscard]] virtual std::size_t held_bytes() const { return 0; }
};

using SpeakerFactory = std::function<std::unique_ptr<Speaker>(Connection &)>;

// On the loop's thread only. All of its functions may be called from within Speaker::take; the speaker never goes
// within a call of its own.
class Connection {
  public:
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    // Kept until the peer takes it, wiped afterwards. Nothing is read while more than 64 KiB wait for the peer.
    void send(std::string bytes);
    // While held nothing is read and nothing is offered to the speaker: a request is at work. What is left is offered
    // after the speaker's or the caller's function has returned.
    void hold(bool held);
    // When all that was sent is written (bounded: 10 s); nothing is read from now on. A peer that has shut down its
    // side is closed by itself, when the speaker took all and does not hold.
    void close();
    [[nodiscard]] const Credentials &credentials() const { return credentials_; }
    [[nodiscard]] Loop &loop() const { return loop_; }
    [[nodiscard]] std::size_t waiting() const { return output_bytes_; } // bytes not written yet

  private:
    friend class Listener;
    enum class State { open, closing, lingering, gone };

    Connection(Listener &listener, Descriptor socket);

    void begin(const SpeakerFactory &factory);
    void finish(); // the listener takes no more
    void handle(std::uint32_t events);
    void receive();
    void discard();
    std::size_t offer(std::string_view bytes);
    void offer_kept();
    void offer_later();
    void write();
    void written(std::size_t bytes);
    void advance(); // to what its state asks for
    void check_progress();
    void abandon(const std::string &why); // at once; empty where nobody needs to be told
    void forget();
    [[nodiscard]] bool offering() const;
    bool look_for_progress();
    [[nodiscard]] Loop::Clock::duration stalled();

    Listener &listener_;
    Loop &loop_;
    Descriptor socket_;
    Credentials credentials_;
    std::unique_ptr<Speaker> speaker_;
    State state_ = State::open;
    bool held_ = false;
    bool ended_ = false; // the peer sends nothing more
    bool busy_ = false;  // the speaker or the sender is at work with it: not to be closed for want of memory
    bool finishing_ = false;
    std::uint32_t events_ = 0;
    std::string kept_; // what the speaker did not take yet, from kept_from_ on
    std::size_t kept_from_ = 0;
    std::deque<std::string> output_;
    std::size_t output_from_ = 0; // in the first of them
    std::size_t output_bytes_ = 0;
    std::size_t output_held_ = 0; // their memory
    Holding output_holding_;
    int unread_ = 0;                               // bytes that the kernel had for the peer when progress was looked at
    Loop::Clock::time_point read_at_, written_at_; // the last progress
    Loop::Timer progress_timer_ = 0, close_timer_ = 0;
    std::shared_ptr<Connection *> self_; // posted functions hold it weakly
};

// A UNIX socket. A stale one is replaced; it is removed at the end.
struct UnixSocket {
    std::string path;
    mode_t mode = 0660;
    gid_t group = static_cast<gid_t>(-1); // -1: the process's
};

// A TCP port of 127.0.0.1; 0 is any that is free.
struct LoopbackPort {
    std::uint16_t port = 0;
};

struct ListenerOptions {
    std::size_t most = 1000; // connections; a further one is closed at once
    // One whose peer takes nothing for so long, while bytes wait for it, is closed.
    Loop::Clock::duration write_timeout = std::chrono::seconds(30);
    // What an operator is to know: why a connection was ended. Never what was sent on it.
    std::function<void(const std::string &)> tell = [](const std::string &) {};
};

// On the loop's thread only. All listeners of a budget are on one loop.
class Listener {
  public:
    // Throws std::runtime_error with what is wrong, in words.
    Listener(Loop &loop, Budget &budget, const std::variant<UnixSocket, LoopbackPort> &address, SpeakerFactory factory,
             ListenerOptions options = {});
    // Closes all connections at once.
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    // Takes no more connections, and closes each when its requests at work are answered; then calls done.
    void finish(std::function<void()> done);
    [[nodiscard]] std::size_t connections() const { return connections_.size(); }
    [[nodiscard]] std::uint16_t port() const { return port_; } // of TCP

  private:
    friend class Connection;

    void accept();
    void admit(Descriptor socket);
    void pause();
    void reap();
    void reap_later();
    Connection *most_stalled(Loop::Clock::duration *longest) const;
    void close_most_stalled();
    void stop_listening();

    Loop &loop_;
    Budget &budget_;
    SpeakerFactory factory_;
    ListenerOptions options_;
    Descriptor socket_;
    std::string path_; // of the socket, to be removed when it is still the one that was made
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::uint16_t port_ = 0;
    std::list<std::unique_ptr<Connection>> connections_;
    std::function<void()> done_;
    bool finishing_ = false, reaping_ = false, full_ = false;
    Loop::Timer pause_ = 0;
    Budget::Reliefs::iterator relief_;
    std::vector<char> buffer_;         // of the connection that is read
    std::shared_ptr<Listener *> self_; // posted functions hold it weakly
};

} // namespace yfw::serve
