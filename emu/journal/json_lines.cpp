#include "emu/journal/json_lines.h"

#include "emu/journal/checksum.h"

#include <algorithm>
#include <set>

namespace orxemu::journal {

namespace {

// More than the deepest line of a journal needs.
constexpr int kMaxDepth = 16;
// Characters of a value that a message shows.
constexpr std::size_t kMaxShown = 60;

// 2: every line ends with its checksum.
constexpr int kVersion = 2;

// The last member of a line, around its digits.
constexpr const char *kChecksum = "crc";
constexpr std::string_view kChecksumFront = ",\"crc\":\"";
constexpr std::string_view kChecksumEnd = "\"}";

[[noreturn]] void Fail(std::string what) {
    throw Error{std::move(what)};
}

std::string Shown(const Json &value) {
    std::string text = value.dump(-1, ' ', true);
    if (text.size() > kMaxShown) {
        text.replace(kMaxShown, std::string::npos, "...");
    }
    return text;
}

// Brackets and braces outside of strings.
bool IsTooDeep(std::string_view line) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            }
            inString = c != '"';
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxDepth) {
                return true;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

// Finds names that an object has twice: the parser keeps one of the two, and an editor may show the other.
class Keys {
  public:
    void See(Json::parse_event_t event, const Json &parsed) {
        switch (event) {
        case Json::parse_event_t::object_start:
            open_.emplace_back();
            break;
        case Json::parse_event_t::object_end:
            open_.pop_back();
            break;
        case Json::parse_event_t::key:
            if (!open_.back().insert(parsed.get<std::string>()).second && twice_.empty()) {
                twice_ = Shown(parsed);
            }
            break;
        default:
            break;
        }
    }
    const std::string &twice() const { return twice_; }

  private:
    std::vector<std::set<std::string>> open_;
    std::string twice_;
};

bool IsSameScalar(const Json &found, const Json &expected) {
    if (!expected.is_number()) {
        return found == expected;
    }
    if (!found.is_number_integer()) {
        return false;
    }
    // A value above the range of the signed type would compare as a negative one.
    const auto isNegative = [](const Json &number) {
        return !number.is_number_unsigned() && number.get<std::int64_t>() < 0;
    };
    return isNegative(found) == isNegative(expected) && found == expected;
}

std::string Inside(const std::string &path, const std::string &name) {
    return path.empty() ? name : path + "." + name;
}

bool IsChecksumDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

Json HeadJson(const char *format, ByteOrder order) {
    Json head;
    head["format"] = format;
    head["version"] = kVersion;
    head["byteOrder"] = NameOf(order);
    return head;
}

void ObjectMustBe(const Json &found, const Json &expected, const std::string &source,
                  const std::string &path) {
    for (const auto &[name, value] : expected.items()) {
        const auto member = found.find(name);
        if (member == found.end()) {
            Fail(Inside(path, name) + " is missing");
        }
        MustBe(*member, value, source, Inside(path, name));
    }
    for (const auto &[name, value] : found.items()) {
        if (!expected.contains(name)) {
            Fail("there is no " + Inside(path, Shown(name)) + " here");
        }
    }
}

} // namespace

bool JsonLines::Next(Json &object) {
    if (rest_.empty()) {
        return false;
    }
    ++line_;
    const std::size_t end = rest_.find('\n');
    const std::string_view text = rest_.substr(0, end);
    if (text.size() > kMaxLineBytes) {
        Fail("the line is longer than " + std::to_string(kMaxLineBytes) + " bytes");
    }
    if (end == std::string_view::npos) {
        Fail("the line is cut off");
    }
    rest_.remove_prefix(end + 1);
    // To the parser it would be the end of the line.
    if (text.find('\0') != std::string_view::npos) {
        Fail("the line has a byte that is 0");
    }
    if (text.ends_with('\r')) {
        Fail("the line ends with a carriage return");
    }
    object = ParseObject(text);
    object.erase(kChecksum);
    text_ = text;
    return true;
}

void JsonLines::MustBeIntact() const {
    std::string_view rest = text_;
    const auto takeEnd = [&rest](std::size_t size) {
        const std::string_view end = rest.substr(rest.size() - std::min(size, rest.size()));
        rest.remove_suffix(end.size());
        return end;
    };
    const std::string_view end = takeEnd(kChecksumEnd.size());
    const std::string_view digits = takeEnd(kChecksumDigits);
    const std::string_view front = takeEnd(kChecksumFront.size());
    if (end != kChecksumEnd || front != kChecksumFront || !std::ranges::all_of(digits, IsChecksumDigit)) {
        Fail("the line does not end with its crc");
    }
    if (const std::string sum = ChecksumOf(rest); digits != sum) {
        Fail("crc is \"" + std::string(digits) + "\", the text in front of it has \"" + sum + "\"");
    }
}

Json ParseObject(std::string_view line) {
    if (IsTooDeep(line)) {
        Fail("the line is nested too deeply");
    }
    Keys keys;
    const auto see = [&keys](int, Json::parse_event_t event, const Json &parsed) {
        keys.See(event, parsed);
        return true;
    };
    Json object = Json::parse(line.begin(), line.end(), see, false);
    if (object.is_discarded()) {
        Fail("the line is no JSON");
    }
    if (!object.is_object()) {
        Fail("the line is no JSON object");
    }
    if (!keys.twice().empty()) {
        Fail(keys.twice() + " is there twice");
    }
    return object;
}

void MustBe(const Json &found, const Json &expected, const std::string &source, const std::string &path) {
    if (expected.is_object() && found.is_object()) {
        ObjectMustBe(found, expected, source, path);
        return;
    }
    if (expected.is_array() && found.is_array() && expected.size() == found.size()) {
        for (std::size_t i = 0; i < expected.size(); ++i) {
            MustBe(found[i], expected[i], source, path + "[" + std::to_string(i) + "]");
        }
        return;
    }
    if (!IsSameScalar(found, expected)) {
        Fail(path + " is " + Shown(found) + ", " + source + " " + Shown(expected));
    }
}

const Json &Member(const Json &object, const char *name) {
    const auto member = object.find(name);
    if (member == object.end()) {
        Fail(std::string(name) + " is missing");
    }
    return *member;
}

std::string TextMember(const Json &object, const char *name) {
    const Json &member = Member(object, name);
    if (!member.is_string()) {
        Fail(std::string(name) + " is " + Shown(member) + ", not a text");
    }
    return member.get<std::string>();
}

std::int64_t NumberMember(const Json &object, const char *name, std::int64_t min, std::int64_t max) {
    const Json &member = Member(object, name);
    const bool tooLarge =
        member.is_number_unsigned() && member.get<std::uint64_t>() > std::uint64_t{INT64_MAX};
    const bool inRange = member.is_number_integer() && !tooLarge && member.get<std::int64_t>() >= min &&
                         member.get<std::int64_t>() <= max;
    if (!inRange) {
        Fail(std::string(name) + " is " + Shown(member) + ", not a number from " + std::to_string(min) +
             " to " + std::to_string(max));
    }
    return member.get<std::int64_t>();
}

Bytes HexMember(const Json &object, const char *name, std::size_t size) {
    Bytes bytes;
    if (!FromHex(TextMember(object, name), bytes)) {
        Fail(std::string(name) + " is not made of hexadecimal digits in pairs");
    }
    if (bytes.size() != size) {
        Fail(std::string(name) + " has " + std::to_string(bytes.size()) + " bytes, not " +
             std::to_string(size));
    }
    return bytes;
}

ByteOrder ReadHead(JsonLines &lines, const char *format) {
    Json head;
    if (!lines.Next(head)) {
        Fail("the file is empty");
    }
    if (TextMember(head, "format") != format) {
        Fail("format is " + Shown(head["format"]) + ", not " + Shown(format));
    }
    if (!IsSameScalar(Member(head, "version"), kVersion)) {
        Fail("version is " + Shown(head["version"]) + ", this program knows " + std::to_string(kVersion));
    }
    const std::string order = TextMember(head, "byteOrder");
    for (const ByteOrder known : {ByteOrder::Little, ByteOrder::Big}) {
        if (order == NameOf(known)) {
            MustBe(head, HeadJson(format, known), "it has to be");
            lines.MustBeIntact();
            return known;
        }
    }
    Fail("byteOrder is " + Shown(head["byteOrder"]) + ", neither little nor big");
}

std::string HeadLine(const char *format, ByteOrder order) {
    return LineOf(HeadJson(format, order));
}

std::string LineOf(const Json &object) {
    std::string text = object.dump();
    text.pop_back(); // the brace, which stands behind the checksum
    return text + std::string(kChecksumFront) + ChecksumOf(text) + std::string(kChecksumEnd) + "\n";
}

} // namespace orxemu::journal
