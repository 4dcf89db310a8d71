#include "edit/edit.h"

#include "bgp/references.h"
#include "edit/apply.h"
#include "edit/check.h"
#include "edit/combine.h"
#include "edit/compare.h"
#include "edit/difference.h"
#include "edit/expectation.h"
#include "edit/map.h"
#include "model/trees.h"
#include "read/cut.h"
#include "read/parts.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace yfw {

namespace {

// A part of the configuration that is read before and after, and what it should be then.
struct Region {
    Node *parts;
    Node *expected;
};

class EditRun {
  public:
    EditRun(const Ground &ground, const EditOptions &options, Transaction &transaction, EditResult &result)
        : ground_(ground),
          options_(options),
          transaction_(transaction),
          result_(result),
          arena_(result.requests.front()->arena()),
          stored_(stored_in(transaction)) {}

    void run(bool is_plain);

  private:
    Difference work_out(Node *edit);
    void map_going(Node *goes);
    void map_set(Node *sets);
    void try_again(const std::vector<LeftAlone> &left);
    void watch(const MapResult &mapped, const Node *native);
    void add_region(Node *parts, const Node *sets);
    void note_implied(const MapResult &mapped);
    void settle();
    Comparison compare_regions();
    bool mend(const Comparison &comparison);
    void report(const Comparison &comparison);
    void not_mapped(const LeftAlone &left);
    void tell_left_out();
    void verify();
    void verify_nodes(std::span<const Node *const> nodes);
    MapResult map_round(Request &request, Round round, Node *source);
    void check_round(Request &request, Round round) const;
    void apply_checked(Request &request, Round round);
    void apply_round(Request &request, Round round) {
        check_round(request, round);
        apply_checked(request, round);
    }
    Request &new_request() { return *result_.requests.emplace_back(ground_.request(YFW_KIND_EDIT)); }
    Node *root() { return new_root(arena_, ground_.schema); }

    const Ground &ground_;
    const EditOptions &options_;
    Transaction &transaction_;
    EditResult &result_;
    Arena &arena_;
    StoredNative stored_;
    Node *goes_ = nullptr;
    Node *sets_ = nullptr;
    Node *rounds_ = nullptr; // the native edit so far
    std::size_t round_count_ = 0;
    std::vector<Region> regions_;
    std::vector<Node *> unmapped_; // of what is set
};

MapResult EditRun::map_round(Request &request, Round round, Node *source) {
    request.set_source(source);
    SystemDatabase database(transaction_, ground_.items);
    const BoundSystemDatabase bound(database);
    const MapGround ground{ground_.mapping, ground_.bgp, database, stored_};
    return round == Round::deletes ? map_goes(request, ground) : map_sets(request, ground);
}

void EditRun::check_round(Request &request, Round round) const {
    if (round == Round::deletes) {
        keep_deletes(request.destination());
    }
    check_native(ground_.schema, request.destination());
}

// What is refused here is refused for good: a part of it is in the transaction.
void EditRun::apply_checked(Request &request, Round round) {
    Node *native = request.destination();
    apply_edit(transaction_, native, round);
    if (++round_count_ == 1) {
        rounds_ = native;
    } else {
        combine(arena_, rounds_, native);
    }
}

// What goes and what is set; the parts that the operations concern become a region, without what goes.
Difference EditRun::work_out(Node *edit) {
    Node *parts = concerned_parts(arena_, ground_.schema, ground_.bgp, edit, result_.default_operation);
    if (parts == nullptr) {
        return difference(arena_, ground_.mapping, ground_.bgp, edit, nullptr, result_.default_operation);
    }
    transaction_.keep_again();
    parts = touched_parts(arena_, ground_.mapping, parts);
    ground_.bgp.widen(arena_, parts);
    const auto stored = read_parts(ground_, parts, transaction_);
    Difference found =
        difference(arena_, ground_.mapping, ground_.bgp, edit, stored->destination(), result_.default_operation);
    Node *expected = root();
    copy_into(arena_, expected, stored->destination(), YFW_OP_NONE);
    if (found.goes != nullptr) {
        subtract(expected, found.goes);
        ground_.bgp.keep_as(arena_, found.goes, expected, found.sets, result_.notes);
        ground_.bgp.take_along(found.goes, expected, found.sets, result_.notes);
    }
    if (found.sets != nullptr) {
        overlay(arena_, ground_.mapping, expected, parts, found.sets, result_.notes);
    }
    cut(expected, parts); // what was only on the way to what goes
    regions_.push_back({parts, expected});
    return found;
}

void EditRun::run(bool is_plain) {
    Request &first = *result_.requests.front();
    Difference found;
    if (is_plain && result_.default_operation == DefaultOperation::merge) {
        found.sets = first.source(); // all of it
    } else {
        found = work_out(first.source());
    }
    std::move(found.not_mapped.begin(), found.not_mapped.end(), std::back_inserter(result_.not_mapped));
    if (found.goes != nullptr && found.goes->first() != nullptr) {
        map_going(found.goes);
    }
    goes_ = found.goes;
    sets_ = found.sets;
    if (sets_ != nullptr) {
        map_set(sets_);
    }
    settle();
    result_.edit = rounds_ == nullptr ? first.destination() : rounds_;
    check_references(ground_.schema, transaction_, result_.edit);
    tell_left_out();
    if (options_.verify && sets_ != nullptr) {
        verify();
    }
    if (options_.strict && !result_.not_mapped.empty()) {
        const std::size_t more = result_.not_mapped.size() - 1;
        throw StrictlyRefused(Refused(Reason::not_mapped, result_.not_mapped.front(), result_.not_mapped,
                                      more == 0 ? "the node is not mapped"
                                                : "the node and " + std::to_string(more) + " more are not mapped"),
                              result_.told());
    }
}

void EditRun::map_going(Node *goes) {
    Request &request = new_request();
    map_round(request, Round::deletes, goes);
    apply_round(request, Round::deletes);
}

void EditRun::map_set(Node *sets) {
    Request &request = *result_.requests.front();
    const MapResult mapped = map_round(request, Round::sets, sets);
    const bool again = std::any_of(mapped.left_alone.begin(), mapped.left_alone.end(),
                                   [](const LeftAlone &left) { return left.served; });
    watch(mapped, request.destination());
    if (again || options_.verify || !regions_.empty()) {
        transaction_.keep_again();
    }
    std::vector<LeftAlone> waiting;
    for (const LeftAlone &left : mapped.left_alone) {
        if (left.served) {
            waiting.push_back(left);
        } else {
            not_mapped(left);
        }
    }
    apply_round(request, Round::sets);
    if (!waiting.empty()) {
        try_again(waiting);
    }
}

// A node that came to nothing, which nobody is to wait for.
void EditRun::not_mapped(const LeftAlone &left) {
    const std::string path = instance_path(left.node);
    result_.not_mapped.push_back(path);
    unmapped_.push_back(left.node);
    if (!left.why.empty()) {
        result_.notes.push_back({path, left.why});
    }
    for (const Region &region : regions_) {
        if (Node *expected = counterpart(region.expected, left.node); expected != nullptr) {
            unlink(expected);
        }
    }
}

// What lies in a node that is told of is not told again.
void EditRun::tell_left_out() {
    const std::unordered_set<std::string_view> told(result_.not_mapped.begin(), result_.not_mapped.end());
    std::erase_if(result_.left_out, [&told](std::string_view path) {
        for (auto end = path.find('/', 1); end != std::string_view::npos; end = path.find('/', end + 1)) {
            if (told.contains(path.substr(0, end))) {
                return true;
            }
        }
        return false;
    });
    result_.not_mapped.insert(result_.not_mapped.begin(), std::move_iterator(result_.left_out.begin()),
                              std::move_iterator(result_.left_out.end()));
    result_.left_out.clear();
}

// Once more what came to nothing, now that the rest is there, with the stored partner of a leaf that goes with one.
void EditRun::try_again(const std::vector<LeftAlone> &left) {
    Node *again = root();
    Node *partners = root();
    for (const LeftAlone &node : left) {
        copy_to(arena_, again, node.node, YFW_OP_NONE);
        add_partner(arena_, ground_.mapping, partners, node.node);
    }
    if (partners->first() != nullptr) {
        const auto found = read_parts(ground_, partners, transaction_);
        copy_into(arena_, again, found->destination(), YFW_OP_NONE);
    }
    Request &request = new_request();
    const MapResult mapped = map_round(request, Round::sets, again);
    for (const LeftAlone &still : mapped.left_alone) {
        const auto first = std::find_if(left.begin(), left.end(), [&](const LeftAlone &node) {
            return counterpart(again, node.node) == still.node;
        });
        if (first != left.end()) {
            not_mapped({first->node, first->why, false});
        }
    }
    apply_round(request, Round::sets);
}

// What the edit may change beside what it names, in entries that are there already.
void EditRun::watch(const MapResult &mapped, const Node *native) {
    if (mapped.affecting.empty() && mapped.unset.empty() && mapped.implying.empty()) {
        return;
    }
    Node *parts = affected_parts(arena_, ground_.mapping, mapped,
                                 [this, native] { return existing_origins(transaction_, native); });
    std::vector<std::pair<Node *, std::string>> implied;
    for (const Node *node : mapped.implying) {
        const bool left_alone = std::any_of(mapped.left_alone.begin(), mapped.left_alone.end(),
                                            [node](const LeftAlone &left) { return left.node == node; });
        if (left_alone) {
            continue;
        }
        std::string why;
        if (Node *leaf = ground_.bgp.implied(arena_, ground_.schema, node, why); leaf != nullptr) {
            ensure_counterpart(arena_, parts, leaf);
            implied.emplace_back(leaf, why);
        }
    }
    if (parts->first() == nullptr) {
        return;
    }
    const auto stored = read_parts(ground_, parts, transaction_);
    Node *expected = root();
    copy_into(arena_, expected, stored->destination(), YFW_OP_NONE);
    if (goes_ != nullptr) {
        subtract(expected, goes_);
    }
    overlay(arena_, ground_.mapping, expected, parts, sets_, result_.notes);
    regions_.push_back({parts, expected});
    for (const auto &[leaf, why] : implied) {
        if (counterpart(expected, leaf) == nullptr) {
            result_.notes.push_back({instance_path(leaf), why});
        }
        for (const Region &region : regions_) {
            if (counterpart(sets_, leaf) == nullptr) {
                copy_to(arena_, region.expected, leaf, YFW_OP_NONE);
                cut(region.expected, region.parts);
            }
        }
    }
}

Comparison EditRun::compare_regions() {
    Comparison all;
    for (const Region &region : regions_) {
        const auto found = read_parts(ground_, region.parts, transaction_);
        const Comparison one =
            compare(arena_, ground_.mapping, ground_.bgp, region.parts, region.expected, found->destination());
        for (const auto &[part, whole] : {std::pair{one.missing, &all.missing}, {one.surplus, &all.surplus}}) {
            if (part != nullptr && *whole == nullptr) {
                *whole = root();
            }
            if (part != nullptr) {
                copy_with_operations(arena_, *whole, part);
            }
        }
    }
    return all;
}

// Takes away and sets again what differs from what is expected: a delete took more along than the edit names, or less.
void EditRun::settle() {
    constexpr int most = 3;
    for (int i = 0; i < most && !regions_.empty(); ++i) {
        const Comparison comparison = compare_regions();
        if (comparison.missing == nullptr && comparison.surplus == nullptr) {
            return;
        }
        if (i + 1 == most || !mend(comparison)) {
            report(comparison);
            return;
        }
    }
}

// False when the mapping refuses to; what it did before that stands.
bool EditRun::mend(const Comparison &comparison) {
    const auto maps = [this](Request &request, Round round, const std::function<Node *()> &tree) {
        try {
            map_round(request, round, tree());
            check_round(request, round);
            return true;
        } catch (const Refused &) {
            return false;
        }
    };
    if (comparison.surplus != nullptr) {
        Request &request = new_request();
        if (!maps(request, Round::deletes, [&comparison] { return comparison.surplus; })) {
            return false;
        }
        apply_checked(request, Round::deletes);
    }
    Node *missing = comparison.missing == nullptr ? root() : comparison.missing;
    const Node *partners = partners_of(arena_, ground_.mapping, comparison);
    if (missing->first() == nullptr && partners->first() == nullptr) {
        return true;
    }
    Request &request = new_request();
    const auto with_partners = [&] {
        if (partners->first() != nullptr) {
            const auto found = read_parts(ground_, partners, transaction_);
            copy_into(arena_, missing, found->destination(), YFW_OP_NONE);
        }
        return missing;
    };
    if (!maps(request, Round::sets, with_partners)) {
        return false;
    }
    apply_checked(request, Round::sets);
    return true;
}

// What differs in the end.
void EditRun::report(const Comparison &comparison) {
    std::vector<std::unique_ptr<Request>> found;
    for (const Region &region : regions_) {
        found.push_back(read_parts(ground_, region.parts, transaction_));
    }
    const auto known = [&found](const Node *node) {
        const Node *there = nullptr;
        for (const auto &one : found) {
            there = there == nullptr ? counterpart(one->destination(), node) : there;
        }
        return there;
    };
    for_each_difference(comparison.missing, known, [&](const Node *node, const Node *there) {
        const bool was_set = sets_ != nullptr && counterpart(sets_, node) != nullptr;
        const bool has_values = there != nullptr && there->value != nullptr && node->value != nullptr;
        if (has_values && !node->schema().secret) {
            result_.notes.push_back(
                {instance_path(node), std::string("it is ") + there->value + ", and not " + node->value});
        } else if (was_set) {
            result_.not_mapped.push_back(instance_path(node));
        } else {
            result_.notes.push_back({instance_path(node), "it goes along with what the edit takes away"});
        }
    });
    for_each_difference(
        comparison.surplus, [](const Node *) { return nullptr; },
        [&](const Node *node, const Node *) {
            result_.notes.push_back({instance_path(node), "it stays, or comes along: nothing takes it away alone"});
        });
}

// In pieces: a small tree is made, read and compared while it is in the processor's caches.
void EditRun::verify() {
    constexpr std::size_t piece = 1000;
    for (Node *node : unmapped_) {
        take_out(node);
    }
    std::vector<const Node *> touched;
    add_touched(ground_.mapping, sets_, touched);
    for (std::size_t begin = 0; begin < touched.size(); begin += piece) {
        verify_nodes(std::span(touched).subspan(begin, std::min(piece, touched.size() - begin)));
    }
    if (options_.strict && !result_.deviations.empty()) {
        std::vector<std::string> told;
        for (const Deviation &deviation : result_.deviations) {
            told.push_back(deviation.text());
        }
        throw StrictlyRefused(Refused(Reason::constraint, result_.deviations.front().path, std::move(told),
                                      "what is read back is not what the edit says"),
                              result_.told());
    }
}

void EditRun::verify_nodes(std::span<const Node *const> nodes) {
    const auto paths = ground_.request(YFW_KIND_READ);
    Node *parts = new_root(paths->arena(), ground_.schema);
    for (const Node *node : nodes) {
        ensure_counterpart(paths->arena(), parts, node);
    }
    const auto found = read_parts(ground_, parts, transaction_);
    const Comparison comparison =
        compare_nodes(paths->arena(), ground_.mapping, ground_.bgp, nodes, found->destination());
    const auto known = [&found](const Node *node) { return counterpart(found->destination(), node); };
    const auto shown = [](const Node *node) -> std::string {
        return node == nullptr || node->value == nullptr ? "" : node->schema().secret ? "(a password)" : node->value;
    };
    for_each_difference(comparison.missing, known, [&](const Node *node, const Node *there) {
        result_.deviations.push_back(
            {instance_path(node), node->schema().is_inner() ? "there" : shown(node), shown(there)});
    });
}

} // namespace

void run_edit(const Ground &ground, const EditOptions &options, bool is_plain, Transaction &transaction,
              EditResult &result) {
    EditRun(ground, options, transaction, result).run(is_plain);
}

} // namespace yfw
