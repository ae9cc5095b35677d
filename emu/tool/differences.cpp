#include "emu/tool/differences.h"

#include "emu/tool/alignment.h"

#include <algorithm>
#include <limits>
#include <map>
#include <unordered_map>

namespace orxemu::tool {

namespace {

// The changed requests between two common ones are paired by likeness, unless that would take more than this
// number of comparisons. Then requests of a kind are paired in their order.
constexpr std::size_t kMaxLookedAt = 250'000;
// Being of one kind counts more than any likeness of contents.
constexpr double kSameKind = 1;

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

// Gives each text a number; equal texts have equal numbers.
class Numbers {
  public:
    std::size_t Of(const std::string &text) {
        return numbers_.try_emplace(text, numbers_.size()).first->second;
    }

  private:
    std::unordered_map<std::string, std::size_t> numbers_;
};

// A sequence of meanings as numbers, which compare fast.
struct Coded {
    std::vector<std::size_t> kinds;
    std::vector<std::size_t> wholes;
    std::vector<std::vector<std::size_t>> leaves; // sorted
};

Coded Code(const Meanings &meanings, Numbers &numbers) {
    Coded coded;
    for (const Meaning &meaning : meanings) {
        std::vector<std::size_t> leaves;
        for (const Leaf &leaf : meaning.leaves) {
            leaves.push_back(numbers.Of(leaf.path + '\n' + leaf.text));
        }
        std::sort(leaves.begin(), leaves.end());
        std::string whole = "\n" + meaning.kind;
        coded.kinds.push_back(numbers.Of(whole));
        for (const std::size_t leaf : leaves) {
            whole += '\n' + std::to_string(leaf);
        }
        coded.wholes.push_back(numbers.Of(whole));
        coded.leaves.push_back(std::move(leaves));
    }
    return coded;
}

double Share(const std::vector<std::size_t> &a, const std::vector<std::size_t> &b) {
    std::size_t common = 0;
    for (std::size_t i = 0, j = 0; i < a.size() && j < b.size();) {
        common += a[i] == b[j] ? 1 : 0;
        const bool advanceA = a[i] <= b[j];
        const bool advanceB = b[j] <= a[i];
        i += advanceA ? 1 : 0;
        j += advanceB ? 1 : 0;
    }
    const std::size_t most = std::max(a.size(), b.size());
    return most == 0 ? 1 : static_cast<double>(common) / static_cast<double>(most);
}

// Pairs what belongs together: one function for logs, one for states.
using Matcher = Pairs (*)(const Coded &a, const Coded &b);

// The changed requests between two common ones: [a0, a1) and [b0, b1).
void MatchBetween(const Coded &a, const Coded &b, std::size_t a0, std::size_t a1, std::size_t b0,
                  std::size_t b1, Pairs &pairs) {
    const std::size_t lengthA = a1 - a0;
    const std::size_t lengthB = b1 - b0;
    Pairs found;
    if (lengthA == 0 || lengthB == 0) {
        return;
    }
    if (lengthA <= kMaxLookedAt / lengthB) {
        found = MostAlikeInOrder(lengthA, lengthB, [&](std::size_t i, std::size_t j) {
            const bool sameKind = a.kinds[a0 + i] == b.kinds[b0 + j];
            return sameKind ? kSameKind + Share(a.leaves[a0 + i], b.leaves[b0 + j]) : 0;
        });
    } else {
        found = CommonSubsequence(std::span(a.kinds).subspan(a0, lengthA),
                                  std::span(b.kinds).subspan(b0, lengthB));
    }
    for (const auto &[i, j] : found) {
        pairs.emplace_back(a0 + i, b0 + j);
    }
}

Pairs MatchSequences(const Coded &a, const Coded &b) {
    Pairs pairs;
    std::size_t endA = 0;
    std::size_t endB = 0;
    for (const auto &[i, j] : CommonSubsequence(a.wholes, b.wholes)) {
        MatchBetween(a, b, endA, i, endB, j, pairs);
        pairs.emplace_back(i, j);
        endA = i + 1;
        endB = j + 1;
    }
    MatchBetween(a, b, endA, a.wholes.size(), endB, b.wholes.size(), pairs);
    return pairs;
}

using Positions = std::vector<std::size_t>;

// Pairs what is equal, in order, and takes it out of both sides.
void MatchEqual(const Coded &a, const Coded &b, Positions &inA, Positions &inB, Pairs &pairs) {
    std::multimap<std::size_t, std::size_t> byWhole;
    for (const std::size_t j : inB) {
        byWhole.emplace(b.wholes[j], j);
    }
    std::erase_if(inA, [&](std::size_t i) {
        const auto found = byWhole.lower_bound(a.wholes[i]);
        if (found == byWhole.end() || found->first != a.wholes[i]) {
            return false;
        }
        pairs.emplace_back(i, found->second);
        std::erase(inB, found->second);
        byWhole.erase(found);
        return true;
    });
}

Pairs MatchObjects(const Coded &a, const Coded &b) {
    std::map<std::size_t, std::pair<Positions, Positions>> byKind;
    for (std::size_t i = 0; i < a.kinds.size(); ++i) {
        byKind[a.kinds[i]].first.push_back(i);
    }
    for (std::size_t j = 0; j < b.kinds.size(); ++j) {
        byKind[b.kinds[j]].second.push_back(j);
    }
    Pairs pairs;
    for (auto &[kind, positions] : byKind) {
        Positions &inA = positions.first;
        Positions &inB = positions.second;
        MatchEqual(a, b, inA, inB, pairs);
        const Pairs alike = MostAlike(inA.size(), inB.size(), [&](std::size_t i, std::size_t j) {
            return kSameKind + Share(a.leaves[inA[i]], b.leaves[inB[j]]);
        });
        for (const auto &[i, j] : alike) {
            pairs.emplace_back(inA[i], inB[j]);
        }
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

const std::string *FindText(const Leaves &leaves, const std::string &path) {
    const auto found =
        std::find_if(leaves.begin(), leaves.end(), [&](const Leaf &leaf) { return leaf.path == path; });
    return found != leaves.end() ? &found->text : nullptr;
}

std::vector<Change> ChangesBetween(const Meaning &a, const Meaning &b) {
    std::vector<Change> changes;
    for (const Leaf &leaf : a.leaves) {
        const std::string *after = FindText(b.leaves, leaf.path);
        if (after == nullptr || *after != leaf.text) {
            changes.push_back({leaf.path, leaf.text, after != nullptr ? *after : ""});
        }
    }
    for (const Leaf &leaf : b.leaves) {
        if (FindText(a.leaves, leaf.path) == nullptr) {
            changes.push_back({leaf.path, "", leaf.text});
        }
    }
    return changes;
}

// For each position of the second side its partner on the first, or kNone.
Positions PartnersOf(std::size_t length, const Pairs &pairs) {
    Positions partners(length, kNone);
    for (const auto &[i, j] : pairs) {
        partners[j] = i;
    }
    return partners;
}

std::string ReferenceName(const Meaning &meaning) {
    // A request's name is its number.
    return meaning.title.empty() ? meaning.name : meaning.title + " " + meaning.name;
}

Pairs Match(Matcher matcher, const Meanings &a, const Meanings &b) {
    Numbers numbers;
    const Coded codedA = Code(a, numbers);
    const Coded codedB = Code(b, numbers);
    return matcher(codedA, codedB);
}

Differences Compare(Matcher matcher, Meanings &a, Meanings &b) {
    const Positions partners = PartnersOf(b.size(), Match(matcher, a, b));
    NameReferences(a, [&](std::size_t i) { return ReferenceName(a[i]); });
    NameReferences(b, [&](std::size_t j) {
        return partners[j] != kNone ? ReferenceName(a[partners[j]]) : "+" + ReferenceName(b[j]);
    });

    const Pairs pairs = Match(matcher, a, b);
    const Positions finalPartners = PartnersOf(b.size(), pairs);
    Differences differences;
    std::size_t nextB = 0;
    const auto addUpTo = [&](std::size_t end) {
        for (; nextB < end; ++nextB) {
            if (finalPartners[nextB] == kNone) {
                differences.push_back({nullptr, &b[nextB], {}});
            }
        }
    };
    auto pair = pairs.begin();
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (pair == pairs.end() || pair->first != i) {
            differences.push_back({&a[i], nullptr, {}});
            continue;
        }
        addUpTo(pair->second);
        if (std::vector<Change> changes = ChangesBetween(a[i], b[pair->second]); !changes.empty()) {
            differences.push_back({&a[i], &b[pair->second], std::move(changes)});
        }
        ++pair;
    }
    addUpTo(b.size());
    return differences;
}

} // namespace

Differences CompareLogs(Meanings &a, Meanings &b) {
    return Compare(MatchSequences, a, b);
}

Differences CompareStates(Meanings &a, Meanings &b) {
    return Compare(MatchObjects, a, b);
}

} // namespace orxemu::tool
