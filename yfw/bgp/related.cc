#include "bgp/related.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace yfw {

namespace {

constexpr std::array<std::string_view, 3> instance_lists{"/bgp/instance", "/bgp/instance/instance-as",
                                                         "/bgp/instance/instance-as/four-byte-as"};
constexpr std::string_view vrf_list = "/vrfs/vrf";
constexpr std::string_view bgp_vrf_list = "/bgp/instance/instance-as/four-byte-as/vrfs/vrf";

bool is_family(const SchemaNode &list) {
    return list.path.starts_with(instance_lists.back()) && list.name.ends_with("-af");
}

class Related {
  public:
    Related(const Schema &schema, const Transaction &transaction) : schema_(schema), transaction_(transaction) {}

    void look_at(std::string_view key) {
        const SchemaNode *list = nullptr;
        for (std::size_t begin = root_key.size(); begin < key.size();) {
            std::string_view rest = key.substr(begin);
            Number number = 0;
            std::string_view value;
            list = take_number(rest, number) ? transaction_.find_node(number) : nullptr;
            if (list == nullptr) {
                return;
            }
            if (is_family(*list)) {
                add_entries(key.substr(0, key.size() - rest.size()));
            }
            for (std::size_t i = 0; i < list->keys.size(); ++i) {
                take_key_value(rest, value);
            }
            if (list->path == vrf_list || list->path == bgp_vrf_list) {
                vrfs_.emplace(value);
            }
            begin = key.size() - rest.size();
        }
    }

    std::vector<std::string> take(std::vector<std::string> keys) {
        add_instances(std::string(root_key), 0);
        for (const std::string &name : vrfs_) {
            add_entry(std::string(root_key), vrf_list, name);
        }
        keys.insert(keys.end(), more_.begin(), more_.end());
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
        return keys;
    }

  private:
    // Keys that follow on each other are often in one list.
    void add_entries(std::string_view prefix) {
        if (prefix == last_prefix_) {
            return;
        }
        last_prefix_ = prefix;
        for (EntryCursor entry(transaction_, last_prefix_); entry.next();) {
            more_.push_back(entry.key());
        }
    }

    void add_instances(const std::string &above, std::size_t level) {
        if (level == instance_lists.size()) {
            more_.push_back(above);
            for (const std::string &name : vrfs_) {
                add_entry(above, bgp_vrf_list, name);
            }
            return;
        }
        const std::string prefix = list_in(above, instance_lists.at(level));
        for (EntryCursor entry(transaction_, prefix); !prefix.empty() && entry.next();) {
            add_instances(entry.key(), level + 1);
        }
    }

    void add_entry(const std::string &above, std::string_view list, const std::string &name) {
        if (std::string key = list_in(above, list); !key.empty()) {
            append_key_value(key, name);
            more_.push_back(std::move(key));
        }
    }

    // The key of a list in an entry; empty when the store has never held one.
    [[nodiscard]] std::string list_in(std::string above, std::string_view list) const {
        const SchemaNode *schema = schema_.find(list);
        const Number number = schema == nullptr ? Number{0} : transaction_.number(*schema);
        if (number == 0) {
            return "";
        }
        append_number(above, number);
        return above;
    }

    const Schema &schema_;
    const Transaction &transaction_;
    std::set<std::string> vrfs_;
    std::vector<std::string> more_;
    std::string last_prefix_;
};

} // namespace

std::vector<std::string> with_related(std::vector<std::string> keys, const Schema &schema,
                                      const Transaction &transaction) {
    if (keys.empty()) {
        return keys;
    }
    Related related(schema, transaction);
    for (const std::string &key : keys) {
        related.look_at(key);
    }
    return related.take(std::move(keys));
}

} // namespace yfw
