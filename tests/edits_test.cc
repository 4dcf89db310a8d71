// Properties of edits, tried with random ones. YFW_RANDOM_EDITS says how many, YFW_RANDOM_SEED with which seed they
// begin. Each sequence of edits has a seed of its own; that of a sequence with a failure is printed, and
// YFW_RANDOM_SEED of that value with YFW_RANDOM_EDITS=1 plays the sequence again. Of each kind of failure the first is
// shown, its edit cut down to what fails still; YFW_RANDOM_SHOWN says of how many kinds.
#include "edit_generator.h"
#include "engine_fixture.h"

#include <iostream>
#include <random>

namespace yfw::test {
namespace {

constexpr std::size_t settings_in_front = 5; // edits of a sequence that bring the configuration about
constexpr std::size_t sequence_length = 25;
constexpr std::size_t kinds_shown = 12; // of failures of a test, the first of each in full

std::uint64_t number_from(const char *variable, std::uint64_t otherwise) {
    const char *text = std::getenv(variable);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

// The generator's choices.
class Choices {
  public:
    explicit Choices(std::uint64_t seed) : random_(seed) {}
    fuzz::Bytes next() {
        std::generate(bytes_.begin(), bytes_.end(), [this] { return static_cast<std::uint8_t>(random_()); });
        return {bytes_.data(), bytes_.size()};
    }

  private:
    std::mt19937_64 random_;
    std::array<std::uint8_t, 4096> bytes_{};
};

struct Outcome {
    std::optional<Refused> refused;
    Item after;
    Reports reports;
    std::vector<std::string> told;     // what the edit said, as it said it
    std::vector<Deviation> deviations; // what its verification found
};

class RandomEdits : public EngineTest {
  protected:
    void TearDown() override {
        std::cout << "seed " << first_seed_ << ": " << done_ << " edits done, " << refused_ << " refused\n";
        for (const auto &[reason, count] : reasons_) {
            std::cout << "  refused " << count << " times: " << reason << '\n';
        }
        for (const auto &[what, count] : kinds_) {
            std::cout << "  " << count << " times: " << what << '\n';
        }
    }

    Outcome run(const RandomEdit &edit, Transaction &transaction) const {
        Outcome outcome;
        EditOptions options;
        options.default_operation = edit.default_operation;
        options.verify = true;
        std::string text = print(schema(), edit.document, edit.syntax, edit.default_name);
        try {
            const EditResult result = engine().edit(text, edit.syntax, options, transaction);
            outcome.told = reports_of(result);
            outcome.deviations = result.deviations;
            outcome.after = read(transaction);
        } catch (const Refused &refused) {
            outcome.refused = refused;
        }
        for (const std::string &line : outcome.told) {
            outcome.reports.add(line);
        }
        return outcome;
    }

    // What is wrong with an outcome; empty when nothing is.
    std::string judge(const RandomEdit &edit, const Item &stored, const Outcome &outcome) {
        EditModel model;
        Item wanted;
        try {
            wanted = model.apply(stored, edit.document, edit.default_operation);
        } catch (const ModelRefusal &refusal) {
            reason_ = refusal.reason;
            return outcome.refused || outcome.reports.excuse(refusal.path)
                       ? ""
                       : "is to be refused: " + joined(refusal.path) + ": " + refusal.reason + '\n';
        }
        if (outcome.refused) {
            // A native path at the beginning would make each refusal one of its own.
            const std::string why = outcome.refused->what();
            reason_ = std::string(code_name(outcome.refused->code())) + ": " +
                      why.substr(why.starts_with('/') ? why.find(' ') + 1 : 0);
            return model.unclear().empty() && is_the_models(outcome.refused->code())
                       ? "is not to be refused: " + outcome.refused->path() + ": " + outcome.refused->what() + '\n'
                       : "";
        }
        Item before = stored;
        const Reports reports = with_consequences(outcome.reports, before, wanted);
        Item whole = comparable(std::move(wanted), &before);
        Item found = comparable(outcome.after);
        if (model.kept_as()) {
            drop_bare_as(whole, found);
            drop_bare_as(found, whole);
        }
        drop_made_for_unset(found, whole, edit.document);
        std::string wrong = differences(whole, found, reports);
        if (wrong.empty() && outcome.told.empty() && !outcome.deviations.empty()) {
            wrong = "verification finds what is not so: " + outcome.deviations.front().text() + '\n';
        }
        return wrong;
    }
    // What is there and what is not, and what a document may hold, the model knows as well.
    static bool is_the_models(cerrno code) {
        constexpr std::array known{Reason::malformed_document, Reason::unknown_element, Reason::missing_key,
                                   Reason::duplicate,          Reason::data_exists,     Reason::data_missing,
                                   Reason::unknown_operation};
        return std::any_of(known.begin(), known.end(),
                           [code](Reason reason) { return static_cast<cerrno>(reason) == code; });
    }
    std::string differences(Item wanted, Item found, const Reports &reports = {}) {
        std::string text;
        what_.clear();
        imply_families(wanted, found);
        for (const Difference &one : compare(wanted, found)) {
            if (!reports.excuse(one.path)) {
                text += joined(one.path) + ": wanted " + (one.wanted.empty() ? "nothing" : one.wanted) + ", found " +
                        (one.found.empty() ? "nothing" : one.found) + '\n';
                if (what_.empty()) {
                    what_ = kind_of(one);
                }
            }
        }
        return text;
    }
    // The path without keys.
    static std::string kind_of(const Difference &one) {
        std::string kind = one.found.empty() ? "gone:" : one.wanted.empty() ? "left or added:" : "another value:";
        for (const std::string &step : one.path) {
            kind += step.substr(0, step.find('[')).insert(0, "/");
        }
        return kind;
    }

    // Takes out of a failing edit what it fails without.
    template <typename Fails>
    static void shrink(Item &item, const Fails &fails) {
        const auto all = item.children;
        for (const auto &[step, child] : all) {
            item.children.erase(step);
            if (!fails()) {
                shrink(item.children.emplace(step, child).first->second, fails);
            }
        }
    }

    // Counts a failure. True when it is the first of its kind, and to be shown.
    bool is_new(const std::string &property, const std::string &what) {
        ++failures_;
        const std::string kind =
            property + ": " + (!what_.empty() ? what_ : reason_ + " (" + what.substr(0, what.find(':')) + ')');
        return ++kinds_[kind] == 1 && kinds_.size() <= number_from("YFW_RANDOM_SHOWN", kinds_shown);
    }
    void check(const std::string &property, const RandomEdit &edit, const Item &stored, const std::string &wrong) {
        if (!wrong.empty() && is_new(property, wrong)) {
            show(property, edit, stored, wrong);
        }
    }
    // An edit of what is stored, or of nothing, that leaves what is stored now.
    void check_leaves_stored(const std::string &property, const RandomEdit &edit, bool from_nothing) {
        Transaction transaction = store_.begin(Access::write);
        if (from_nothing) {
            transaction.erase_all(root_key);
        }
        const Outcome outcome = run(edit, transaction);
        what_.clear();
        reason_ = outcome.refused ? outcome.refused->what() : "";
        const Reports none;
        const std::string wrong =
            outcome.refused
                ? "refused: " + outcome.refused->path() + ": " + outcome.refused->what() + '\n'
                : differences(comparable(stored_), comparable(outcome.after), from_nothing ? outcome.reports : none);
        check(property, edit, from_nothing ? Item{.schema = stored_.schema} : stored_, wrong);
    }
    void show(const std::string &property, const RandomEdit &edit, const Item &stored, const std::string &what) const {
        constexpr std::array defaults{"merge", "replace", "none"};
        ADD_FAILURE() << property << ", seed " << seed_ << ", edit " << number_ << ", default operation "
                      << defaults.at(static_cast<std::size_t>(edit.default_operation)) << '\n'
                      << what << "stored: " << print(schema(), stored, Syntax::json)
                      << "edit: " << print(schema(), edit.document, edit.syntax, edit.default_name);
    }

    // Makes the edit and, when judged, holds it against the model. False when it was refused.
    bool step(const RandomEdit &edit, bool judged) {
        const Item before = stored_;
        const Records records_before = records();
        Outcome outcome;
        {
            Transaction transaction = store_.begin(Access::write);
            outcome = run(edit, transaction);
            if (!outcome.refused) {
                transaction.commit();
                stored_ = outcome.after;
            }
        }
        const bool accepted = !outcome.refused;
        reason_.clear();
        what_.clear();
        const std::string wrong = judge(edit, before, outcome);
        ++(outcome.refused ? refused_ : done_);
        if (outcome.refused) {
            ++reasons_[reason_];
            EXPECT_EQ(records(), records_before) << "a refused edit, seed " << seed_ << ", edit " << number_;
        }
        const std::string property = "what an edit says";
        if (judged && !wrong.empty() && is_new(property, wrong)) {
            RandomEdit smallest = edit;
            std::string all;
            const auto fails = [&] {
                Transaction transaction = store_.begin(Access::write);
                test::restore(transaction, records_before);
                outcome = run(smallest, transaction);
                all = judge(smallest, before, outcome);
                return !all.empty();
            };
            shrink(smallest.document, fails);
            fails();
            for (const std::string &line : outcome.told) {
                all += "told: " + line + '\n';
            }
            show(property, smallest, before, all);
        }
        return accepted;
    }

    void begin_sequence(std::uint64_t seed) {
        seed_ = seed;
        number_ = 0;
        restore({});
        stored_ = read(store_.begin(Access::read));
        generator_.instance = seed % 2 == 0 ? "core" : "default";
    }
    // Calls after(bytes, edit) after each edit that was made.
    template <typename After>
    void play(After after, bool judged = false) {
        for (std::uint64_t seed = first_seed_; done_ + refused_ < count_; ++seed) {
            begin_sequence(seed);
            Choices choices(seed);
            for (number_ = 1; number_ <= sequence_length; ++number_) {
                fuzz::Bytes bytes = choices.next();
                const RandomEdit edit = number_ <= settings_in_front ? generator_.settings(bytes, stored_, 12)
                                                                     : generator_.edit(bytes, stored_);
                if (step(edit, judged)) {
                    fuzz::Bytes more = choices.next();
                    after(more, edit);
                }
            }
        }
        EXPECT_LT(refused_, done_) << "most edits are refused: they try little";
        EXPECT_EQ(failures_, 0U);
    }

    static constexpr std::uint64_t default_count = 300;
    const std::uint64_t count_ = number_from("YFW_RANDOM_EDITS", default_count);
    const std::uint64_t first_seed_ = number_from("YFW_RANDOM_SEED", 1);
    std::uint64_t seed_ = 0;
    std::size_t number_ = 0; // of the edit in its sequence
    std::size_t done_ = 0, refused_ = 0, failures_ = 0;
    std::string reason_, what_;
    std::map<std::string, std::size_t> reasons_, kinds_;
    Item stored_;
    EditGenerator generator_{schema(), engine().mapping().description()};
};

TEST_F(RandomEdits, DoWhatTheySay) {
    play([](fuzz::Bytes &, const RandomEdit &) {}, true);
}

bool has_operation(const Item &item, std::initializer_list<Operation> operations) {
    return std::find(operations.begin(), operations.end(), item.operation) != operations.end() ||
           std::any_of(item.children.begin(), item.children.end(),
                       [&](const auto &child) { return has_operation(child.second, operations); });
}

TEST_F(RandomEdits, TwiceIsTheSameAsOnce) {
    play([this](fuzz::Bytes &, const RandomEdit &edit) {
        if (edit.default_operation != DefaultOperation::none &&
            !has_operation(edit.document, {Operation::create, Operation::erase})) {
            check_leaves_stored("the same edit again", edit, false);
        }
    });
}

TEST_F(RandomEdits, ABackupRestores) {
    play([this](fuzz::Bytes &bytes, const RandomEdit &) {
        const Syntax syntax = bytes.one_in(2) ? Syntax::xml : Syntax::json;
        check_leaves_stored("a backup that is restored", {.document = stored_, .syntax = syntax}, true);
    });
}

TEST_F(RandomEdits, AReplaceBySomeOfItLeavesThat) {
    play([this](fuzz::Bytes &bytes, const RandomEdit &) {
        const RandomEdit edit = generator_.replace_by_subset(bytes, stored_);
        Transaction transaction = store_.begin(Access::write);
        reason_.clear();
        what_.clear();
        check("a replace by a subset", edit, stored_, judge(edit, stored_, run(edit, transaction)));
    });
}

TEST_F(RandomEdits, ReadsAgree) {
    play([this](fuzz::Bytes &bytes, const RandomEdit &edit) {
        const Transaction transaction = store_.begin(Access::read);
        std::string wrong = differences(comparable(stored_), comparable(read(transaction, true)));
        for (int reads = 0; reads < 4 && wrong.empty() && !stored_.children.empty(); ++reads) {
            const std::string path = EditGenerator::some_path(bytes, stored_);
            if (path.empty()) {
                continue;
            }
            Item wanted = stored_;
            normalise(wanted);
            cut(wanted, parse_path(path));
            try {
                for (const bool state : {false, true}) {
                    Item found = read(transaction, state, {path});
                    normalise(found);
                    cut(found, parse_path(path));
                    const std::string differing = differences(wanted, found);
                    if (!differing.empty()) {
                        wrong.append(path).append(state ? " with state:\n" : ":\n").append(differing);
                    }
                }
            } catch (const Refused &refused) {
                what_ = "a read is refused";
                wrong = path + " is refused: " + refused.what() + '\n';
            }
        }
        check("reads that differ", edit, stored_, wrong);
    });
}

} // namespace
} // namespace yfw::test
