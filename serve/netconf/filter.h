// Filters of NETCONF's reads: of subtrees, RFC 6241 section 6, and of XPath in the form of instance paths.
#pragma once

#include "serve/netconf/message.h"

#include "mapping/mapping.h"
#include "model/tree.h"

#include <string>
#include <string_view>
#include <vector>

namespace yfw::serve {

// The instance paths of what a subtree filter can select, more rather than less; none when it selects nothing of what
// the mapping serves. state: what is no configuration, too.
std::vector<std::string> paths_of(const Element &filter, const Mapping &mapping, const Schema &schema, bool state);

// Takes out of a tree what a subtree filter does not select.
void select(Node *root, const Element &filter);
// Likewise of other data, whose top elements are the element's children.
void select(Element &data, const Element &filter);

// The subtree filter that selects what an XPath expression does: absolute paths of names, with predicates of keys and
// '|' between them. The prefixes are the filter element's. Throws Refused for one of another form.
Element filter_of_xpath(std::string_view expression, const Element &filter);

} // namespace yfw::serve
