#include "emu/journal/rule_text.h"

#include "emu/journal/fcb_requests.h"
#include "emu/journal/phrases.h"

#include <algorithm>

namespace orxemu::journal {

namespace {

constexpr std::string_view kArrow = "→";
constexpr unsigned kUsualSection = 1;

// ---- Forwarding ---------------------------------------------------------------------------------------

// When forwarding information was not set as a whole, a destination may have no queue.
std::string QueueText(const Json &queue) {
    return queue.is_number() ? "q" + PlainText(queue) : "queue unset";
}

// Destinations in the order of their ports. Neighbours that share a queue are followed by it once.
class Destinations {
  public:
    void Add(std::string name, const Json &queue) {
        const std::string text = QueueText(queue);
        if (!queue_.empty() && queue_ != text) {
            Close();
        }
        queue_ = text;
        names_.push_back(std::move(name));
    }
    void AddGem(unsigned gem, const Json &queue) {
        const std::string text = QueueText(queue);
        if (gems_ != 0 && gemQueue_ != text) {
            CloseGems();
        }
        gems_ |= 1u << gem;
        gemQueue_ = text;
        gemQueueValue_ = queue;
    }
    void CloseGems() {
        if (gems_ != 0) {
            Add("gpon " + GemText(gems_), gemQueueValue_);
            gems_ = 0;
        }
    }
    // A port without a queue.
    void AddBare(std::string name) {
        Close();
        text_.Add(std::move(name));
    }
    std::string Text() {
        Close();
        return text_.Text();
    }

  private:
    void Close() {
        for (std::string &name : names_) {
            text_.Add(std::move(name));
        }
        names_.clear();
        if (!queue_.empty()) {
            text_.Add(std::move(queue_));
            queue_.clear();
        }
    }

    Phrase text_;
    std::vector<std::string> names_;
    std::string queue_;
    std::uint32_t gems_ = 0;
    std::string gemQueue_;
    Json gemQueueValue_;
};

constexpr unsigned kMaskBits = 32;

std::string DestinationPorts(const Json &dst) {
    const std::uint32_t ports = Number(dst, "portMask");
    const std::uint32_t gems = Number(dst, "gemPortIdxMask");
    const Json &portQueues = Member(dst, "portQid");
    const Json &gemQueues = Member(dst, "gemQid");
    Destinations destinations;
    for (unsigned port = 0; port < kMaskBits; ++port) {
        if (!Has(ports, port)) {
            continue;
        }
        if (port != kGponPort) {
            port <= kHostPort ? destinations.Add(PortName(port), Element(portQueues, port))
                              : destinations.AddBare(PortName(port));
            continue;
        }
        if (gems == 0) {
            destinations.AddBare("gpon");
        }
        for (unsigned gem = 0; gem < kMaskBits; ++gem) {
            if (Has(gems, gem)) {
                destinations.AddGem(gem, Element(gemQueues, gem));
            }
        }
        destinations.CloseGems();
    }
    Phrase text;
    text.Add(destinations.Text());
    if (gems != 0 && !Has(ports, kGponPort)) {
        text.Add("(" + GemText(gems) + ")"); // kept, without effect until the GPON port is a destination
    }
    return text.Text();
}

// Words behind the destination. Flows usually override the address table, so that only "no-override" is said.
std::string ForwardingFlags(const Json &flags) {
    Phrase text;
    bool drop = false;
    bool overrides = false;
    for (const Json &flag : flags) {
        if (flag == "e_FWD_ACTION_DROP") {
            drop = true;
        } else if (flag == "e_FWD_ACTION_ARL_OVRD") {
            overrides = true;
        } else if (flag == "e_FWD_ACTION_LRN_ENABLE") {
            text.Add("learn");
        } else {
            text.Add("flags " + FieldText("fwdAction", flag));
        }
    }
    if (drop == overrides) {
        text.Add(overrides ? "override" : "no-override");
    }
    return text.Text();
}

bool HasSource(const Json &fwdInfo) {
    const Json &src = Member(fwdInfo, "src");
    return Number(src, "portMask") != 0 || Number(src, "gemPortIdxMask") != 0;
}

// Nothing has been said about the forwarding of this flow. Queues say nothing without a destination.
bool IsAsAllocated(const Json &fwdInfo) {
    const Json &dst = Member(fwdInfo, "dst");
    return !HasSource(fwdInfo) && Number(dst, "portMask") == 0 && Number(dst, "gemPortIdxMask") == 0 &&
           Number(fwdInfo, "flowPrio") == 0 &&
           Member(fwdInfo, "fwdAction") == Json::array({"e_FWD_ACTION_LRN_ENABLE"});
}

bool Contains(const Json &list, std::string_view name) {
    return std::any_of(list.begin(), list.end(), [name](const Json &item) { return item == name; });
}

// ---- Filters and actions ------------------------------------------------------------------------------

// Types of frames that have a word. The two of PPPoE differ in what the session does with them.
struct EthTypeWord {
    std::uint32_t ethType;
    std::string_view word;
};
constexpr EthTypeWord kEthTypeWords[] = {
    {0x0800, "ip"},
    {0x8863, "pppoe discovery"},
    {0x8864, "pppoe"},
};

// A decoded FCB has no other headers.
const HeaderRow &FindHeader(const Json &entry) {
    return *std::ranges::find(Headers(), PlainText(Member(entry, "header")), &HeaderRow::name);
}

std::string PhraseFor(const TypeRow &type, const HeaderRow &header) {
    std::string phrase(type.phrase);
    const std::size_t at = phrase.find('@');
    return at == std::string::npos ? phrase : phrase.replace(at, 1, header.tag);
}

// The value of a filter or an action, as the row of its type shows it.
std::string ValueText(const TypeRow &type, const Json &value) {
    if (const unsigned digits = HexDigits(type); digits != 0) {
        return HexText(value, digits);
    }
    if (!value.is_object()) {
        return PlainText(value);
    }
    const std::string address = PlainText(Member(value, "addr"));
    if (value.contains("prefixLen")) {
        return address + "/" + PlainText(Member(value, "prefixLen"));
    }
    const Json &mask = Member(value, "mask");
    return mask == "ff:ff:ff:ff:ff:ff" ? address : address + "&" + PlainText(mask);
}

std::string_view EthTypeWordFor(const Json &value) {
    for (const EthTypeWord &row : kEthTypeWords) {
        if (value == row.ethType) {
            return row.word;
        }
    }
    return {};
}

// A request of an unknown type: everything that the record says.
std::string UnknownRequest(const HeaderRow &header, std::string_view block, const Json &request) {
    Phrase text;
    text.Add(header.name);
    text.Add(block);
    for (const auto &[name, value] : request.items()) {
        text.Add(name + " " + FieldText(name, value));
    }
    return text.Text();
}

std::string FilterCondition(const TypeRow &type, const HeaderRow &header, const Json &request) {
    const std::string phrase = PhraseFor(type, header);
    const Json &value = Member(request, "val");
    if (request.contains("val2")) {
        return phrase + " " + ValueText(type, value) + "-" + ValueText(type, Member(request, "val2"));
    }
    if (type.say == Say::Flag && value == 1) {
        return phrase;
    }
    if (type.say == Say::Flag && value == 0) {
        return "no " + phrase;
    }
    const std::string_view word = type.say == Say::EthType ? EthTypeWordFor(value) : "";
    return !word.empty() ? std::string(word) : phrase + " " + ValueText(type, value);
}

std::string FilterText(const HeaderRow &header, const Json &request) {
    const TypeRow *type = FindType(Member(request, "type"));
    const Json &cmpOp = Member(request, "cmpOp");
    if (type == nullptr || cmpOp.is_number()) {
        return UnknownRequest(header, "filter", request);
    }
    const std::string condition = FilterCondition(*type, header, request);
    return cmpOp == "e_CMP_NEQ" ? "not " + condition : condition;
}

std::string TagName(const Json &tag) {
    if (tag == 0) {
        return "outer";
    }
    return tag == 1 ? "inner" : "tag " + PlainText(tag);
}

std::string ActionText(const HeaderRow &header, const Json &request) {
    const TypeRow *type = FindType(Member(request, "type"));
    if (type == nullptr) {
        return UnknownRequest(header, "action", request);
    }
    const std::string phrase = PhraseFor(*type, header);
    if (type->form == ValueForm::None) {
        return phrase;
    }
    const Json &value = Member(request, "val");
    return phrase + " " + (type->say == Say::FromTag ? "from " + TagName(value) : ValueText(*type, value));
}

bool IsEthType(const Json &request) {
    return Member(request, "type") == "e_ETH_FILT_ETHTYPE";
}

std::string DamageText(const Json &request) {
    return "(damaged: " + PlainText(Member(request, "damaged")) + ")";
}

// Filters in the order of the frame: what the Ethernet header says of its payload stands behind the tags.
std::string MatchText(const Json &headers) {
    Phrase inFront;
    Phrase behindTags;
    Phrase payload;
    for (const Json &entry : headers) {
        const HeaderRow &header = FindHeader(entry);
        Phrase &place = header.hdr <= e_FLOWHDR_VLAN3 ? inFront : payload;
        const Json &requests = Member(entry, "requests");
        if (requests.empty()) {
            place.Add(header.present);
        }
        for (const Json &request : requests) {
            if (request.contains("damaged")) {
                place.Add(DamageText(request));
            } else {
                (IsEthType(request) ? behindTags : place).Add(FilterText(header, request));
            }
        }
    }
    Phrase all;
    all.Add(inFront.Text());
    all.Add(behindTags.Text());
    all.Add(payload.Text());
    return all.Text();
}

std::string ActionsText(const Json &headers) {
    Phrase text(", ");
    for (const Json &entry : headers) {
        const HeaderRow &header = FindHeader(entry);
        for (const Json &request : Member(entry, "requests")) {
            text.Add(request.contains("damaged") ? DamageText(request) : ActionText(header, request));
        }
    }
    return text.Text();
}

// What belongs to the flow as a whole.
std::string OptionsText(const Json &fcb) {
    Phrase text;
    if (const Json &prio = Member(Member(fcb, "forwarding"), "flowPrio"); prio.is_number() && prio != 0) {
        text.Add("prio " + PlainText(prio));
    }
    for (const Json &table : Member(fcb, "tables")) {
        if (table == "ep") {
            text.Add("ep " + PlainText(Member(fcb, "epTblHdl")));
        } else if (table == "pac") {
            text.Add("pac " + PlainText(Member(fcb, "pacTblHdl")));
            const Json &source = Member(fcb, "pbitsSource");
            text.Add(source == 0 ? "" : "pbits-source " + PlainText(source));
        } else {
            text.Add("tables " + PlainText(table));
        }
    }
    if (const Json &asOverride = Member(fcb, "asOverride"); asOverride == "e_AS_OVERRIDE_ENABLE") {
        text.Add("as-override");
    } else if (asOverride.is_number()) {
        text.Add("as-override " + PlainText(asOverride));
    }
    if (const Json &section = Member(fcb, "section"); section != kUsualSection) {
        text.Add("section " + PlainText(section));
    }
    return text.Text();
}

} // namespace

std::string SourceText(const Json &fwdInfo) {
    const Json &src = Member(fwdInfo, "src");
    const std::uint32_t ports = Number(src, "portMask");
    const std::uint32_t gems = Number(src, "gemPortIdxMask");
    Phrase text;
    text.Add(PortsText(ports));
    if (gems == 0) {
        return text.Text();
    }
    if (!Has(ports, kGponPort)) {
        text.Add("(" + GemText(gems) + ")");
        return text.Text();
    }
    std::string withGems = text.Text();
    withGems.insert(withGems.find("gpon") + 4, " " + GemText(gems));
    return withGems;
}

std::string DestinationText(const Json &fwdInfo) {
    const Json &flags = Member(fwdInfo, "fwdAction");
    const std::string ports = DestinationPorts(Member(fwdInfo, "dst"));
    Phrase text;
    if (Contains(flags, "e_FWD_ACTION_DROP")) {
        text.Add("drop");
        text.Add(ports.empty() ? "" : "(" + ports + ")");
    } else {
        text.Add(ports.empty() ? "no port" : ports);
    }
    text.Add(ForwardingFlags(flags));
    return text.Text();
}

std::string RuleText(const Json &fcb) {
    const Json &forwarding = Member(fcb, "forwarding");
    const bool isSet = Member(fcb, "fwdInfoSet") == 1;
    Phrase match;
    match.Add(isSet || HasSource(forwarding) ? "in " + SourceText(forwarding) : "");
    match.Add(MatchText(Member(Member(fcb, "filter"), "headers")));
    Phrase destination;
    if (isSet) {
        destination.Add(DestinationText(forwarding));
    } else if (IsAsAllocated(forwarding)) {
        destination.Add("nowhere");
    } else {
        destination.Add(DestinationText(forwarding));
        destination.Add(kForwardingNotSet);
    }
    destination.Add(OptionsText(fcb));

    Phrase rule;
    rule.Add(match.Text());
    if (const std::string actions = ActionsText(Member(Member(fcb, "action"), "headers")); !actions.empty()) {
        rule.Add(std::string(kArrow) + " " + actions);
    }
    rule.Add(std::string(kArrow) + " " + destination.Text());
    return rule.Text();
}

} // namespace orxemu::journal
