// The parts that lines for people are made of.
#ifndef EMU_JOURNAL_PHRASES_H
#define EMU_JOURNAL_PHRASES_H

#include "emu/journal/records.h"

#include <span>
#include <string>

namespace orxemu::journal {

// Texts with a separator between them; empty ones leave no trace.
class Phrase {
  public:
    explicit Phrase(std::string_view separator = " ") : separator_(separator) {}
    void Add(std::string_view text) {
        if (!text.empty()) {
            text_.append(text_.empty() ? "" : separator_).append(text);
        }
    }
    bool IsEmpty() const { return text_.empty(); }
    const std::string &Text() const { return text_; }

  private:
    std::string separator_;
    std::string text_;
};

// A member of an object or an element of a list; null when it is not there.
const Json &Member(const Json &object, std::string_view name);
const Json &Element(const Json &list, std::size_t index);
// A member that is a number; 0 when it is none.
std::uint32_t Number(const Json &object, std::string_view name);

// A value whose field does not matter: text as it is, lists with blanks between their elements.
std::string PlainText(const Json &value);
// "0x" and at least `digits` digits; PlainText of what is no number.
std::string HexText(const Json &value, unsigned digits);

// Ports, as masks count them. Ports 0 to 6 are the user ports.
constexpr unsigned kGponPort = 7;
constexpr unsigned kHostPort = 8;

constexpr bool Has(std::uint32_t mask, unsigned bit) {
    return (mask >> bit & 1u) != 0;
}

// "uni0", "gpon", "host"; "port 9" for one that does not exist.
std::string PortName(unsigned port);
std::string PortName(const Json &port);
// "uni0 gpon host", or "no port".
std::string PortsText(std::uint32_t mask);
// Ascending numbers, three and more in a row as a range: "0-3,7".
std::string NumbersText(std::span<const unsigned> numbers);
// "gem 0-3,7"
std::string GemText(std::uint32_t mask);

} // namespace orxemu::journal

#endif
