// NETCONF's requests of two sessions, a message after the other, on a service of its own.
#include "bytes.h"
#include "serve/netconf/operations.h"
#include "store/password_key.h"
#include "tests/scratch.h"

#include <libxml/parser.h>

namespace yfw::serve {

namespace {

using fuzz::Bytes;
using fuzz::require;

// Made when the program starts, so that the fuzzer sees the plug-in's code too.
class Daemon {
  public:
    static Daemon &shared() {
        static Daemon made;
        return made;
    }

    // From an empty store: messages with a zero byte between them.
    void play(Bytes &bytes) {
        Transaction transaction = store_.begin(Access::write);
        test::restore(transaction, {});
        transaction.commit();
        Service service(engine_, store_, {.lenient = bytes.one_in(2)});
        Operations operations(service, library_);
        const auto open = [&service](const char *user, Role role) {
            Session session;
            session.user = user;
            session.role = role;
            session.by = "NETCONF";
            return service.open(std::move(session));
        };
        const SessionId writer = open("w", Role::writer), reader = open("r", Role::reader);
        std::string_view left = bytes.rest();
        for (int count = 0; count < 8 && !left.empty(); ++count) {
            const std::size_t end = std::min(left.find('\0'), left.size());
            const bool reads = end > 0 && left.front() == 'r'; // a message of the reader's
            answer(operations, reads ? reader : writer, std::string(left.substr(reads ? 1 : 0, end - (reads ? 1 : 0))),
                   reads);
            left.remove_prefix(std::min(end + 1, left.size()));
        }
        operations.close(writer);
        operations.close(reader);
        require(!service.due() || store_.begin(Access::read).record(promise_key), "a promise is in the store");
    }

  private:
    Daemon() = default;

    [[nodiscard]] test::Records records() const { return test::records_of(store_.begin(Access::read)); }

    void answer(Operations &operations, SessionId session, std::string message, bool reads) const {
        const test::Records before = records();
        Answer answer;
        try {
            answer = operations.answer(session, message);
        } catch (const BadMessage &) {
            require(records() == before, "what is no request changes nothing");
            return;
        }
        require(!answer.is_error || records() == before, "an error changes nothing", answer.text);
        require(!reads || records() == before, "a reader changes nothing", answer.text);
        xmlDoc *document = xmlReadMemory(answer.text.data(), static_cast<int>(answer.text.size()), nullptr, nullptr,
                                         XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        require(document != nullptr, "the answer is well-formed", answer.text);
        xmlFreeDoc(document);
    }

    Engine engine_{{{YFW_MODELS_DIR}, YFW_MAPPING, YFW_PLUGIN}, nullptr};
    Library library_{engine_.schema(), engine_.mapping(), "/usr/share/yuma/modules/ietf"};
    test::ScratchDirectory directory_;
    Store store_{directory_ / "db", engine_.schema(), Access::write, StoreLimits{std::size_t{256} << 20U, {}}};
};

} // namespace

} // namespace yfw::serve

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    yfw::fuzz::Bytes bytes(data, size);
    yfw::serve::Daemon::shared().play(bytes);
    return 0;
}
