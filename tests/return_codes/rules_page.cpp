// The rule tables as the page of the documentation.
#include "qirapi/private/rule_tables.h"
#include "tests/return_codes/page.h"

#include <cstdio>
#include <sstream>
#include <vector>

namespace return_codes {

namespace {

using qir::TypeRule;
using qir::ValueForm;
using qir::ValueRule;

const char kRulesIntroduction[] =
    R"(# Rules of filters and actions

Which filters and actions a header takes: the types, the values that each accepts, the operators that a filter type
takes, how often a type may be given, and which types exclude it.

- **Value**: the type of the member of `val` that counts, and its limits. "any" is not looked at. A value beyond the
  limits is refused with `e_RET_ERR_INVALID_PARAM`.
- **Operators** (filters): another operator is refused with `e_RET_ERR_INVALID_CMPOPSEQ`, by UDP filters with
  `e_RET_ERR_INVALID_PARAM`. With `e_CMP_IN_RANGE`, `val` is the lower bound and `val2` the upper one; `val2` keeps the
  same limits and is not below `val`.
- **How often** a header takes the type. One filter more with the same operator is refused with
  `e_RET_ERR_INVALID_CMPOPSEQ`, a type that may be given once with the code for exclusion.
- **Excluded by**: the type is refused when one of these is on the header already, filters with
  `e_RET_ERR_INVALID_FILTSEQ` and actions with `e_RET_ERR_INVALID_ACTIONSEQ`. The rule goes one way: a type that comes
  first is not asked what comes later.

The VLAN rules hold for each tag on its own. MPLS filters and actions are accepted and ignored.

A filter counts as given once the operators and exclusions let it pass, also when its value is then refused: the same
type may then be excluded by itself. An action counts as given once its value and the exclusions let it pass, also when
the order or the number of tags then refuses it.

Ethernet actions have an order. A push stands before all other Ethernet actions, and behind a pop stand only pops; the
code is `e_RET_ERR_REQOUTOFORDER`. A flow has at most two tags, those of its filter block and the pushed ones together,
the VLAN header of a pushed tag is allocated in the action block, and there are no more pops than tags; the code is
`e_RET_ERR_INVALID_PARAM`.

In which order an operation checks all this: [return codes](return-codes.md).

This page is generated from the rule tables (`qirapi/private/rule_tables.h`). `UPDATE_DOCS=1` with the test program
`test_return_codes` rewrites it.
)";

std::string Quoted(const std::string &name) {
    return "`" + name + "`";
}

std::string NameOfType(const TypeRule &rule) {
    return rule.name != nullptr ? Quoted(rule.name) : std::to_string(rule.type);
}

// "`a`, `b`"
std::string List(const std::vector<std::string> &names) {
    std::string list;
    for (const std::string &name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

std::string Limits(const ValueRule &value) {
    if (value.max == value.min) {
        return std::to_string(value.min);
    }
    const bool isHex = value.max == 0xFFFF;
    char text[32];
    std::snprintf(text, sizeof text, isHex ? "0x%04x to 0x%04x" : "%u to %u", value.min, value.max);
    return text;
}

std::string Accepted(const ValueRule &value) {
    switch (value.form) {
    case ValueForm::kAny:
        break;
    case ValueForm::kU8:
        return "`uint8_t`: " + Limits(value);
    case ValueForm::kU16:
        return "`uint16_t`: " + Limits(value);
    case ValueForm::kPrefixLen:
        return "`QirIpPrefix`: any address, prefix length " + Limits(value);
    case ValueForm::kFromTag:
        return "`uint32_t`: " + Limits(value) + ", not `toTagNum`";
    }
    return "any";
}

std::string Operators(const TypeRule &rule) {
    std::vector<std::string> names;
    for (const qir::CmpOp &op : qir::kCmpOps) {
        if ((rule.cmpOps & qir::Types(op.cmpOp)) != 0) {
            names.push_back(Quoted(op.name));
        }
    }
    return List(names);
}

std::string HowOften(const TypeRule &rule) {
    if ((rule.excludedBy & qir::Types(rule.type)) != 0) {
        return "once";
    }
    std::vector<std::string> limits;
    for (const qir::CmpOp &op : qir::kCmpOps) {
        if ((rule.cmpOps & qir::Types(op.cmpOp)) != 0) {
            limits.push_back(std::to_string(op.limit) + " with " + Quoted(op.name));
        }
    }
    return limits.empty() ? "as the number of tags allows" : List(limits);
}

// The types beside this one that exclude it; those that do not when they are fewer.
template <std::size_t N> std::string Excluding(const TypeRule (&rules)[N], const TypeRule &rule) {
    std::vector<std::string> excluding;
    std::vector<std::string> others;
    for (const TypeRule &other : rules) {
        if (other.type != rule.type) {
            const bool excludes = (rule.excludedBy & qir::Types(other.type)) != 0;
            std::vector<std::string> &list = excludes ? excluding : others;
            list.push_back(NameOfType(other));
        }
    }
    if (excluding.empty()) {
        return "-";
    }
    if (others.empty()) {
        return "every other type";
    }
    return excluding.size() > others.size() ? "every other type but " + List(others) : List(excluding);
}

enum class Of { kFilters, kActions };

template <std::size_t N>
void RenderTable(std::ostream &page, const char *title, const char *operation, const TypeRule (&rules)[N],
                 Of of) {
    const bool hasOperators = of == Of::kFilters;
    page << "\n## " << title << "\n\n" << Quoted(operation) << "\n\n";
    page << "| number | type | value |" << (hasOperators ? " operators |" : "")
         << " how often | excluded by |\n|--:|---|---|" << (hasOperators ? "---|" : "") << "---|---|\n";
    for (const TypeRule &rule : rules) {
        page << "| " << rule.type << " | " << (rule.name != nullptr ? Quoted(rule.name) : "(no name)")
             << " | " << Accepted(rule.value) << " | " << (hasOperators ? Operators(rule) + " | " : "")
             << HowOften(rule) << " | " << Excluding(rules, rule) << " |\n";
    }
}

} // namespace

std::string RenderRulesPage() {
    std::ostringstream page;
    page << kRulesIntroduction;
    RenderTable(page, "Ethernet filters", "QIR_Config_EthFilter", qir::kEthFilters, Of::kFilters);
    RenderTable(page, "VLAN filters", "QIR_Config_VlanFilter", qir::kVlanFilters, Of::kFilters);
    RenderTable(page, "PPPoE filters", "QIR_Config_PppoeFilter", qir::kPppoeFilters, Of::kFilters);
    RenderTable(page, "IPv4 filters", "QIR_Config_Ipv4Filter", qir::kIpv4Filters, Of::kFilters);
    RenderTable(page, "TCP filters", "QIR_Config_TcpFilter", qir::kTcpFilters, Of::kFilters);
    RenderTable(page, "UDP filters", "QIR_Config_UdpFilter", qir::kUdpFilters, Of::kFilters);
    RenderTable(page, "Ethernet actions", "QIR_Config_EthAction", qir::kEthActions, Of::kActions);
    RenderTable(page, "VLAN actions", "QIR_Config_VlanAction", qir::kVlanActions, Of::kActions);
    RenderTable(page, "PPPoE actions", "QIR_Config_PppoeAction", qir::kPppoeActions, Of::kActions);
    RenderTable(page, "IPv4 actions", "QIR_Config_Ipv4Action", qir::kIpv4Actions, Of::kActions);
    RenderTable(page, "TCP actions", "QIR_Config_TcpAction", qir::kTcpActions, Of::kActions);
    RenderTable(page, "UDP actions", "QIR_Config_UdpAction", qir::kUdpActions, Of::kActions);
    return page.str();
}

} // namespace return_codes
