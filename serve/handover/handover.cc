#include "serve/handover/handover.h"

#include "store/record.h"
#include "store/store.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace yfw::serve {

namespace {

// Of both, one list of what a record holds serves both ways.
class Encoder {
  public:
    void number(std::uint64_t value) { append_fixed(bytes_, value); }
    void operator()(const std::string &text) { append_text(bytes_, text); }
    void operator()(bool value) { bytes_ += static_cast<char>(value); }
    void operator()(std::uint64_t value) { number(value); }
    template <typename Enum>
    requires std::is_enum_v<Enum>
    void operator()(Enum value) { number(static_cast<std::uint64_t>(value)); }
    template <typename Element, typename Fields>
    void list(const std::vector<Element> &elements, Fields fields) {
        number(elements.size());
        for (const Element &element : elements) {
            fields(*this, element);
        }
    }
    [[nodiscard]] std::string take() { return std::move(bytes_); }

  private:
    std::string bytes_;
};

class Decoder {
  public:
    explicit Decoder(std::string_view bytes) : left_(bytes) {}
    std::uint64_t number() {
        std::uint64_t value = 0;
        whole_ = whole_ && take_fixed(left_, value);
        return value;
    }
    void operator()(std::string &text) {
        std::string_view taken;
        whole_ = whole_ && take_text(left_, taken);
        text = taken;
    }
    void operator()(bool &value) {
        whole_ = whole_ && !left_.empty();
        value = whole_ && left_.front() != 0;
        left_.remove_prefix(whole_ ? 1 : 0);
    }
    void operator()(std::uint64_t &value) { value = number(); }
    template <typename Enum>
    requires std::is_enum_v<Enum>
    void operator()(Enum &value) { value = static_cast<Enum>(number()); }
    template <typename Element, typename Fields>
    void list(std::vector<Element> &elements, Fields fields) {
        for (std::uint64_t count = number(); whole_ && count > 0; --count) {
            fields(*this, elements.emplace_back());
        }
    }
    [[nodiscard]] bool is_done() const { return whole_ && left_.empty(); }

  private:
    std::string_view left_;
    bool whole_ = true;
};

constexpr auto as_text = [](auto &archive, auto &text) { archive(text); };

template <typename Archive, typename Record>
void fields_of_request(Archive &archive, Record &request) {
    archive(request.what);
    archive(request.who);
    archive(request.comment);
    archive(request.text);
    archive(request.options.skip_unknown);
    archive(request.options.strict);
    archive(request.options.verify);
    archive(request.options.default_operation);
    archive(request.drop_passwords);
    archive(request.number);
    archive(request.dry_run);
    archive(request.syntax);
    archive(request.compact);
    archive(request.as_difference);
    archive(request.difference_is_json);
    archive(request.difference_is_native);
    archive(request.colour);
}

// A fault has no value without its reason.
struct FaultFields {
    std::uint64_t code = 0;
    std::string path;
    std::string reason;
    std::string hint;
    std::uint64_t line = 0;
    std::uint64_t column = 0;
};

template <typename Archive, typename Record, typename Faults>
void fields_of_answer(Archive &archive, Record &answer, Faults &faults) {
    archive(answer.outcome);
    archive(answer.is_strict);
    archive(answer.printed);
    archive(answer.failure);
    archive.list(answer.told.not_mapped, as_text);
    archive.list(answer.told.unknown, as_text);
    archive.list(answer.told.notes, [](auto &to, auto &note) {
        to(note.path);
        to(note.text);
    });
    archive.list(answer.told.deviations, [](auto &to, auto &deviation) {
        to(deviation.path);
        to(deviation.wanted);
        to(deviation.found);
    });
    archive.list(faults, [](auto &to, auto &fault) {
        to(fault.code);
        to(fault.path);
        to(fault.reason);
        to(fault.hint);
        to(fault.line);
        to(fault.column);
    });
    archive.list(answer.lines, as_text);
}

[[noreturn]] void fail(const std::filesystem::path &store, const std::string &why) {
    throw Unusable("the yfwd that the store in " + store.string() + " belongs to cannot be reached: " + why);
}

void send_all(int socket, std::string_view bytes, const std::filesystem::path &store) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            fail(store, std::strerror(errno));
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
}

std::string receive(int socket, std::size_t size, const std::filesystem::path &store) {
    std::string bytes;
    std::size_t have = 0;
    while (have < size) {
        // Never more room than what came asks for.
        bytes.resize(std::min(size, std::max(2 * have, std::size_t{4096})));
        const ssize_t count = ::recv(socket, bytes.data() + have, bytes.size() - have, 0);
        if (count == 0) {
            fail(store, "it ended before it answered; what became of the request is seen by yfw log");
        }
        if (count < 0 && errno != EINTR) {
            fail(store, std::strerror(errno));
        }
        have += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    bytes.resize(size);
    return bytes;
}

} // namespace

std::string encode(const HandedOver &request) {
    Encoder encoder;
    fields_of_request(encoder, request);
    return encoder.take();
}

std::string encode(const HandedBack &answer) {
    std::vector<FaultFields> faults;
    for (const Fault &fault : answer.faults) {
        faults.push_back({fault.code, fault.path, fault.reason, fault.hint, fault.place.line, fault.place.column});
    }
    Encoder encoder;
    fields_of_answer(encoder, answer, faults);
    return encoder.take();
}

std::optional<HandedOver> decode_request(std::string_view bytes) {
    HandedOver request;
    Decoder decoder(bytes);
    fields_of_request(decoder, request);
    const bool is_known = request.what <= HandedOver::What::status && request.syntax <= Syntax::xml &&
                          request.options.default_operation <= DefaultOperation::none;
    return decoder.is_done() && is_known ? std::optional(std::move(request)) : std::nullopt;
}

std::optional<HandedBack> decode_answer(std::string_view bytes) {
    HandedBack answer;
    std::vector<FaultFields> faults;
    Decoder decoder(bytes);
    fields_of_answer(decoder, answer, faults);
    for (FaultFields &fields : faults) {
        Fault fault(static_cast<cerrno>(fields.code), std::move(fields.path), std::move(fields.reason));
        fault.hint = std::move(fields.hint);
        fault.place = {fields.line, fields.column};
        answer.faults.push_back(std::move(fault));
    }
    return decoder.is_done() ? std::optional(std::move(answer)) : std::nullopt;
}

HandedBack hand_over(const std::filesystem::path &store, const HandedOver &request) {
    const std::string path = store / command_socket;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        fail(store, "the path of its socket is too long");
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const FileHandle socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0 ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        fail(store, std::strerror(errno));
    }
    std::string body = encode(request);
    std::string length;
    append_fixed(length, body.size());
    send_all(socket.get(), length, store);
    send_all(socket.get(), body, store);
    explicit_bzero(body.data(), body.size());
    std::uint64_t size = 0;
    const std::string head = receive(socket.get(), length_size, store);
    std::string_view left = head;
    take_fixed(left, size);
    auto answer = decode_answer(receive(socket.get(), size, store));
    if (!answer) {
        fail(store, "it speaks another version");
    }
    return std::move(*answer);
}

} // namespace yfw::serve
