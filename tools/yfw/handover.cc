#include "handover.h"

#include "store/owner.h"
#include "store/promise.h"

#include <utility>

namespace yfw::tool {

bool is_owned(const Globals &globals) {
    return StoreOwner::is_there(globals.db);
}

serve::HandedOver request_of(serve::HandedOver::What what, const std::string &comment) {
    serve::HandedOver request;
    request.what = what;
    request.who = commit_note(comment).who;
    request.comment = comment;
    return request;
}

void set_output(serve::HandedOver &request, const DifferenceOutput &output) {
    request.as_difference = true;
    request.difference_is_json = output.form == DifferenceOutput::Form::json;
    request.difference_is_native = output.view == Engine::View::native;
    request.colour = shows_colour();
}

serve::HandedBack hand_over(const Globals &globals, serve::HandedOver &request) {
    serve::HandedBack answer = serve::hand_over(globals.db, request);
    explicit_bzero(request.text.data(), request.text.size());
    switch (answer.outcome) {
    case serve::HandedBack::Outcome::refused:
        if (answer.is_strict) {
            throw StrictlyRefused(Refused(std::move(answer.faults), std::move(answer.lines)), std::move(answer.told));
        }
        throw Refused(std::move(answer.faults), std::move(answer.lines));
    case serve::HandedBack::Outcome::failed:
        throw Unusable(answer.failure);
    case serve::HandedBack::Outcome::done:
        break;
    }
    return answer;
}

void print(const serve::HandedBack &answer) {
    Sink sink(stdout);
    sink.put(answer.printed);
    sink.flush();
}

Transaction begin_writing(const Store &store) {
    Transaction transaction = store.begin(Access::write);
    if (const auto promise = read_promise(transaction)) {
        throw Unusable("a commit of " + promise->who + " in " + store.directory().string() +
                       " waits to be confirmed or undone, with all that comes behind it: start yfwd, which sees to it");
    }
    return transaction;
}

void refuse_owned(const Globals &globals, const char *what) {
    if (is_owned(globals)) {
        throw Unusable("the store in " + globals.db.string() + " belongs to a running yfwd, which does no " + what +
                       ": stop it before");
    }
}

} // namespace yfw::tool
