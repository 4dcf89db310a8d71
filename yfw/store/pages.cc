#include "store/pages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace yfw {

namespace {

// LMDB's format, version 1, with 64 bits: all numbers in the machine's order.
constexpr std::uint32_t magic = 0xbeefc0deU;
constexpr std::uint32_t version = 1;
constexpr std::uint64_t no_page = ~std::uint64_t{0};
constexpr std::uint64_t first_data_page = 2;
constexpr std::size_t header_size = 16;
constexpr std::size_t node_header_size = 8;
constexpr std::size_t longest_key = 511;
constexpr std::size_t deepest = 32;
constexpr std::uint16_t integer_keys = 0x08;
constexpr std::uint16_t big_data = 0x01;

enum PageKind : std::uint16_t { branch = 0x01, leaf = 0x02, overflow = 0x04, meta = 0x08 };

struct PageHeader {
    std::uint64_t number;
    std::uint16_t pad;
    std::uint16_t flags;
    std::uint16_t lower; // with upper, of an overflow page: how many pages it has
    std::uint16_t upper;
};
static_assert(sizeof(PageHeader) == header_size);

struct Database {
    std::uint32_t page_size; // of the first one only
    std::uint16_t flags;
    std::uint16_t depth;
    std::uint64_t branch_pages;
    std::uint64_t leaf_pages;
    std::uint64_t overflow_pages;
    std::uint64_t entries;
    std::uint64_t root;
};

struct Meta {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t map_size;
    Database free;
    Database main;
    std::uint64_t last_page;
    std::uint64_t transaction;
};
static_assert(sizeof(Meta) == 136);

struct Node {
    std::uint64_t low; // a leaf's length of data, a branch's page
    std::uint16_t flags;
    std::string_view key;
    std::size_t data_at; // in the page
};

template <typename Record>
Record record_at(std::string_view bytes, std::size_t at) {
    Record record;
    std::memcpy(&record, bytes.data() + at, sizeof record);
    return record;
}

std::optional<Meta> meta_at(std::string_view file, std::size_t at) {
    if (at > file.size() || file.size() - at < header_size + sizeof(Meta)) {
        return std::nullopt;
    }
    return record_at<Meta>(file, at + header_size);
}

bool is_page_size(std::uint32_t size) {
    return size >= 512 && size <= 65536 && (size & (size - 1)) == 0;
}

bool is_sound(const Meta &given) {
    return given.magic == magic && given.version == version && is_page_size(given.free.page_size) &&
           given.free.flags == integer_keys && given.main.flags == 0 && given.last_page >= 1;
}

class Pages {
  public:
    Pages(std::string_view file, const Meta &newest)
        : file_(file),
          meta_(newest),
          size_(newest.free.page_size),
          used_(std::min<std::uint64_t>(newest.last_page + 1, file.size() / size_ + 1)) {}

    bool are_sound() { return tree(meta_.main, false) && tree(meta_.free, true); }

  private:
    // What lies between two keys: at or behind the first, in front of the second where there is one.
    struct Bounds {
        std::string_view from;
        std::optional<std::string_view> to;
    };
    struct Counts {
        std::uint64_t branch_pages = 0;
        std::uint64_t leaf_pages = 0;
        std::uint64_t overflow_pages = 0;
        std::uint64_t entries = 0;
    };

    bool tree(const Database &database, bool of_free_pages) {
        of_free_pages_ = of_free_pages;
        counts_ = {};
        depth_ = database.depth;
        const bool is_empty = database.root == no_page;
        const bool sound = is_empty ? database.depth == 0
                                    : database.depth > 0 && database.depth <= deepest && page(database.root, 1, {});
        return sound && counts_.branch_pages == database.branch_pages && counts_.leaf_pages == database.leaf_pages &&
               counts_.overflow_pages == database.overflow_pages && counts_.entries == database.entries;
    }

    // Marks pages as used, or false when they are none of the file's or are so already.
    bool take(std::uint64_t number, std::uint64_t count) {
        const std::uint64_t all = std::min<std::uint64_t>(meta_.last_page + 1, file_.size() / size_);
        if (number < first_data_page || number >= all || count > all - number) {
            return false;
        }
        for (std::uint64_t at = number; at < number + count; ++at) {
            if (used_[at]) {
                return false;
            }
            used_[at] = true;
        }
        return true;
    }

    [[nodiscard]] std::string_view bytes(std::uint64_t number) const { return file_.substr(number * size_, size_); }

    bool page(std::uint64_t number, std::size_t depth, const Bounds &bounds) {
        if (!take(number, 1)) {
            return false;
        }
        const std::string_view text = bytes(number);
        const auto header = record_at<PageHeader>(text, 0);
        const bool is_leaf = depth == depth_;
        const std::size_t count = (header.lower - header_size) / 2;
        if (header.number != number || header.flags != (is_leaf ? leaf : branch) || header.lower < header_size ||
            header.lower % 2 != 0 || header.lower > header.upper || header.upper > size_ || count < (is_leaf ? 1 : 2) ||
            !is_packed(text, header, count, is_leaf)) {
            return false;
        }
        ++(is_leaf ? counts_.leaf_pages : counts_.branch_pages);
        Bounds rest = bounds;
        std::optional<Node> previous;
        for (std::size_t i = 0; i < count; ++i) {
            const auto node = node_at(text, header, i, is_leaf);
            if (!node) {
                return false;
            }
            const bool has_key = is_leaf || i > 0; // a branch's first is that of its bounds
            if (has_key && !(i == (is_leaf ? 0U : 1U) ? !less(node->key, rest.from) : less(rest.from, node->key))) {
                return false;
            }
            if (has_key && bounds.to && !less(node->key, *bounds.to)) {
                return false;
            }
            if (is_leaf ? !entry(text, *node) : previous && !page(previous->low, depth + 1, {rest.from, node->key})) {
                return false;
            }
            rest.from = has_key ? node->key : rest.from;
            previous = node;
        }
        return is_leaf || page(previous->low, depth + 1, rest);
    }

    // Whether the nodes fill the page from the upper bound to its end, one behind the other.
    bool is_packed(std::string_view text, const PageHeader &header, std::size_t count, bool is_leaf) {
        places_.clear();
        for (std::size_t i = 0; i < count; ++i) {
            const auto node = node_at(text, header, i, is_leaf);
            if (!node) {
                return false;
            }
            const std::size_t end = node->data_at + (is_leaf ? data_size(*node) : 0);
            places_.emplace_back(node->data_at - node->key.size() - node_header_size, end + end % 2);
        }
        std::sort(places_.begin(), places_.end());
        std::size_t at = header.upper;
        for (const auto &[begin, end] : places_) {
            if (begin != at) {
                return false;
            }
            at = end;
        }
        return at == size_;
    }

    static std::size_t data_size(const Node &node) {
        return (node.flags & big_data) != 0 ? sizeof(std::uint64_t) : static_cast<std::size_t>(node.low);
    }

    std::optional<Node> node_at(std::string_view text, const PageHeader &header, std::size_t i, bool is_leaf) const {
        const auto at = std::size_t{record_at<std::uint16_t>(text, header_size + i * 2)};
        if (at < header.upper || at % 2 != 0 || at + node_header_size > size_) {
            return std::nullopt;
        }
        const auto words = record_at<std::array<std::uint16_t, 4>>(text, at);
        Node node{words[0] | std::uint64_t{words[1]} << 16U, words[2], {}, at + node_header_size + words[3]};
        if (!is_leaf) {
            node.low |= std::uint64_t{words[2]} << 32U;
            node.flags = 0;
        }
        const std::size_t more = is_leaf ? data_size(node) : 0;
        const bool key_fits = of_free_pages_ ? words[3] == sizeof(std::uint64_t) || (!is_leaf && i == 0)
                                             : words[3] <= longest_key && (words[3] > 0 || (!is_leaf && i == 0));
        if ((node.flags & ~big_data) != 0 || !key_fits || node.data_at > size_ || more > size_ - node.data_at) {
            return std::nullopt;
        }
        node.key = text.substr(at + node_header_size, words[3]);
        return node;
    }

    // A number of a transaction in the tree of free pages, a text in the other. Nothing is less than all.
    [[nodiscard]] bool less(std::string_view a, std::string_view b) const {
        if (!of_free_pages_ || a.empty() || b.empty()) {
            return a < b;
        }
        return record_at<std::uint64_t>(a, 0) < record_at<std::uint64_t>(b, 0);
    }

    bool entry(std::string_view text, const Node &node) {
        ++counts_.entries;
        std::string_view data = text.substr(node.data_at, data_size(node));
        if ((node.flags & big_data) != 0) {
            const auto first = record_at<std::uint64_t>(text, node.data_at);
            const std::uint64_t pages = (header_size - 1 + node.low) / size_ + 1;
            if (!take(first, pages)) {
                return false;
            }
            const auto header = record_at<PageHeader>(bytes(first), 0);
            const std::uint32_t noted = header.lower | std::uint32_t{header.upper} << 16U;
            if (header.number != first || header.flags != overflow || noted != pages) {
                return false;
            }
            counts_.overflow_pages += pages;
            data = file_.substr(first * size_ + header_size, node.low);
        }
        return !of_free_pages_ || free_pages(data);
    }

    // Their count, and the pages, the highest first.
    bool free_pages(std::string_view data) {
        const std::size_t count = data.size() / sizeof(std::uint64_t);
        if (data.size() % sizeof(std::uint64_t) != 0 || count == 0 || record_at<std::uint64_t>(data, 0) != count - 1) {
            return false;
        }
        std::uint64_t before = meta_.last_page + 1;
        for (std::size_t i = 1; i < count; ++i) {
            const auto number = record_at<std::uint64_t>(data, i * sizeof(std::uint64_t));
            const bool fits = number >= first_data_page && number < before;
            if (!fits || (number < used_.size() && used_[number])) {
                return false; // free ones at the end need not be in the file
            }
            if (number < used_.size()) {
                used_[number] = true;
            }
            before = number;
        }
        return true;
    }

    std::string_view file_;
    const Meta &meta_;
    std::size_t size_;
    std::vector<bool> used_;
    bool of_free_pages_ = false;
    std::size_t depth_ = 0;
    Counts counts_;
    std::vector<std::pair<std::size_t, std::size_t>> places_; // of a page's nodes
};

} // namespace

FileView::FileView(const std::filesystem::path &file) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        const auto size = static_cast<std::size_t>(status.st_size);
        void *begin = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
        if (begin != MAP_FAILED) {
            bytes_ = {static_cast<const char *>(begin), size};
        }
    }
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

FileView::~FileView() {
    if (!bytes_.empty()) {
        ::munmap(const_cast<char *>(bytes_.data()), bytes_.size());
    }
}

bool meta_pages_are_sound(std::string_view file) {
    const auto first = meta_at(file, 0);
    if (!first || first->magic != magic || first->version != version) {
        return true;
    }
    if (!is_sound(*first)) {
        return false;
    }
    const auto second = meta_at(file, first->free.page_size);
    return !second || (is_sound(*second) && second->free.page_size == first->free.page_size);
}

bool pages_are_sound(std::string_view file, std::uint64_t transaction) {
    const auto first = meta_at(file, 0);
    const auto second = first ? meta_at(file, first->free.page_size) : std::nullopt;
    if (!second) {
        return false;
    }
    const Meta &newest = first->transaction == transaction ? *first : *second;
    return newest.transaction == transaction && is_sound(newest) && Pages(file, newest).are_sound();
}

} // namespace yfw
