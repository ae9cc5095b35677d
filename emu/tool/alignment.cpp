#include "emu/tool/alignment.h"

#include <algorithm>
#include <tuple>

namespace orxemu::tool {

namespace {

using Sequence = std::span<const std::size_t>;
using Signed = std::ptrdiff_t;

// A part of both sequences: [a0, a1) and [b0, b1).
struct Box {
    Signed a0, a1, b0, b1;
};

// A run of equal elements in the middle of a shortest way through a box, perhaps an empty one.
struct Snake {
    Signed a0, b0, a1, b1;
};

// Shortest ways through the edit graph of two sequences. The search runs from both ends at once and yields the
// middle of the way; the two halves are solved in turn, so that no history is kept.
class Aligner {
  public:
    Aligner(Sequence a, Sequence b) : a_(a), b_(b), forward_(Reach()), backward_(Reach()) {}

    Pairs Solve() {
        std::vector<Box> open = {{0, Length(a_), 0, Length(b_)}};
        while (!open.empty()) {
            Box box = open.back();
            open.pop_back();
            TakeEnds(box);
            if (box.a0 == box.a1 || box.b0 == box.b1) {
                continue;
            }
            const Snake middle = Middle(box);
            for (Signed i = 0; i < middle.a1 - middle.a0; ++i) {
                Take(middle.a0 + i, middle.b0 + i);
            }
            open.push_back({box.a0, middle.a0, box.b0, middle.b0});
            open.push_back({middle.a1, box.a1, middle.b1, box.b1});
        }
        std::sort(pairs_.begin(), pairs_.end());
        return std::move(pairs_);
    }

  private:
    static Signed Length(Sequence sequence) { return static_cast<Signed>(sequence.size()); }
    bool Equal(Signed inA, Signed inB) const {
        return a_[static_cast<std::size_t>(inA)] == b_[static_cast<std::size_t>(inB)];
    }
    void Take(Signed inA, Signed inB) {
        pairs_.emplace_back(static_cast<std::size_t>(inA), static_cast<std::size_t>(inB));
    }
    void TakeEnds(Box &box) {
        for (; box.a0 < box.a1 && box.b0 < box.b1 && Equal(box.a0, box.b0); ++box.a0, ++box.b0) {
            Take(box.a0, box.b0);
        }
        for (; box.a0 < box.a1 && box.b0 < box.b1 && Equal(box.a1 - 1, box.b1 - 1); --box.a1, --box.b1) {
            Take(box.a1 - 1, box.b1 - 1);
        }
    }

    // The farthest position in A on each diagonal.
    std::vector<Signed> Reach() const { return std::vector<Signed>(2 * (a_.size() + b_.size()) + 3); }
    Signed &At(std::vector<Signed> &reach, Signed diagonal) const {
        return reach[static_cast<std::size_t>(diagonal + Length(a_) + Length(b_) + 1)];
    }
    // Where a step onto a diagonal leads to: from the neighbour that reached farther.
    Signed Step(std::vector<Signed> &reach, Signed diagonal, Signed steps) const {
        const bool fromAbove =
            diagonal == -steps || (diagonal != steps && At(reach, diagonal - 1) < At(reach, diagonal + 1));
        return fromAbove ? At(reach, diagonal + 1) : At(reach, diagonal - 1) + 1;
    }

    Snake Middle(const Box &box) {
        const Signed lengthA = box.a1 - box.a0;
        const Signed lengthB = box.b1 - box.b0;
        const Signed delta = lengthA - lengthB;
        const bool odd = delta % 2 != 0;
        At(forward_, 1) = 0;
        At(backward_, 1) = 0;
        for (Signed steps = 0;; ++steps) {
            for (Signed k = -steps; k <= steps; k += 2) {
                const Signed start = Step(forward_, k, steps);
                Signed x = start;
                while (x < lengthA && x - k < lengthB && Equal(box.a0 + x, box.b0 + x - k)) {
                    ++x;
                }
                At(forward_, k) = x;
                const Signed mirrored = delta - k;
                if (odd && mirrored > -steps && mirrored < steps && x + At(backward_, mirrored) >= lengthA) {
                    return {box.a0 + start, box.b0 + start - k, box.a0 + x, box.b0 + x - k};
                }
            }
            for (Signed k = -steps; k <= steps; k += 2) {
                const Signed start = Step(backward_, k, steps);
                Signed x = start;
                while (x < lengthA && x - k < lengthB && Equal(box.a1 - 1 - x, box.b1 - 1 - x + k)) {
                    ++x;
                }
                At(backward_, k) = x;
                const Signed mirrored = delta - k;
                if (!odd && mirrored >= -steps && mirrored <= steps &&
                    x + At(forward_, mirrored) >= lengthA) {
                    return {box.a1 - x, box.b1 - x + k, box.a1 - start, box.b1 - start + k};
                }
            }
        }
    }

    Sequence a_;
    Sequence b_;
    std::vector<Signed> forward_;
    std::vector<Signed> backward_;
    Pairs pairs_;
};

} // namespace

Pairs CommonSubsequence(Sequence a, Sequence b) {
    return Aligner(a, b).Solve();
}

Pairs MostAlikeInOrder(std::size_t lengthA, std::size_t lengthB, const Likeness &likeness) {
    // best[i][j] is what the rest from i and j on can reach.
    const std::size_t width = lengthB + 1;
    std::vector<double> best((lengthA + 1) * width, 0);
    std::vector<double> alike(lengthA * width, 0);
    for (std::size_t i = lengthA; i-- > 0;) {
        for (std::size_t j = lengthB; j-- > 0;) {
            const double pair = likeness(i, j);
            alike[i * width + j] = pair;
            const double without = std::max(best[(i + 1) * width + j], best[i * width + j + 1]);
            const double with = pair > 0 ? pair + best[(i + 1) * width + j + 1] : 0;
            best[i * width + j] = std::max(with, without);
        }
    }
    Pairs pairs;
    for (std::size_t i = 0, j = 0; i < lengthA && j < lengthB;) {
        const double pair = alike[i * width + j];
        if (pair > 0 && pair + best[(i + 1) * width + j + 1] >= best[i * width + j]) {
            pairs.emplace_back(i++, j++);
        } else if (best[(i + 1) * width + j] >= best[i * width + j + 1]) {
            ++i;
        } else {
            ++j;
        }
    }
    return pairs;
}

Pairs MostAlike(std::size_t lengthA, std::size_t lengthB, const Likeness &likeness) {
    std::vector<std::tuple<double, std::size_t, std::size_t>> candidates;
    for (std::size_t i = 0; i < lengthA; ++i) {
        for (std::size_t j = 0; j < lengthB; ++j) {
            if (const double pair = likeness(i, j); pair > 0) {
                candidates.emplace_back(-pair, i, j); // the most alike in front, then by position
            }
        }
    }
    std::sort(candidates.begin(), candidates.end());
    std::vector<bool> takenA(lengthA, false);
    std::vector<bool> takenB(lengthB, false);
    Pairs pairs;
    for (const auto &[pair, i, j] : candidates) {
        if (!takenA[i] && !takenB[j]) {
            takenA[i] = takenB[j] = true;
            pairs.emplace_back(i, j);
        }
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

} // namespace orxemu::tool
