// NETCONF's operations on a service.
#pragma once

#include "serve/netconf/library.h"
#include "serve/netconf/reply.h"
#include "serve/service/service.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace yfw::serve {

// For ietf-netconf-monitoring; of one session or of all.
struct Counters {
    std::uint32_t in_rpcs = 0;
    std::uint32_t in_bad_rpcs = 0;
    std::uint32_t out_rpc_errors = 0;
};

// What came of a request.
struct Answer {
    std::string text;      // the <rpc-reply>
    std::string operation; // its name, made safe for a log
    std::string result;    // "ok", or the first error's tag and reason
    std::vector<std::string> warnings;
    bool closes = false; // the session ends behind it
    bool is_error = false;
};

class Operations {
  public:
    Operations(Service &service, const Library &library) : service_(service), library_(library) {}

    // Carries out a message of a session, and wipes it. Throws BadMessage.
    Answer answer(SessionId session, std::string &message);

    [[nodiscard]] const Library &library() const { return library_; }
    [[nodiscard]] Service &service() { return service_; }
    // Ends a session.
    void close(SessionId session) {
        counters_.erase(session);
        service_.close(session);
    }

  private:
    struct Call;
    using Act = void (Operations::*)(Call &);
    struct Rule {
        const char *name;
        const char *name_space;
        Act act;
        const char *parameters; // the names of its children, with blanks between
    };
    static const Rule rules[];

    void get(Call &call);
    void get_config(Call &call);
    void edit_config(Call &call);
    void copy_config(Call &call);
    void delete_config(Call &call);
    void lock(Call &call);
    void unlock(Call &call);
    void close_session(Call &call);
    void kill_session(Call &call);
    void validate(Call &call);
    void commit(Call &call);
    void cancel_commit(Call &call);
    void discard_changes(Call &call);
    void get_schema(Call &call);

    void run(Call &call);
    void edit(Call &call, EditOrder order);
    void read(Call &call, Datastore datastore, bool state);
    Engine::ReadResult read_all_or(const std::vector<std::string> &paths, SessionId session, Datastore datastore,
                                   bool state);
    [[nodiscard]] Element own_state() const;

    Service &service_;
    const Library &library_;
    std::map<SessionId, Counters> counters_;
};

} // namespace yfw::serve
