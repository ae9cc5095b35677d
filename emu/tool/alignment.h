// Which parts of two sequences belong together.
#ifndef EMU_TOOL_ALIGNMENT_H
#define EMU_TOOL_ALIGNMENT_H

#include <cstddef>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace orxemu::tool {

// Positions in the first and in the second sequence, both ascending.
using Pairs = std::vector<std::pair<std::size_t, std::size_t>>;

// The longest common subsequence of two sequences of numbers. Time grows with what differs, memory with the
// lengths: long logs that differ little are compared fast.
Pairs CommonSubsequence(std::span<const std::size_t> a, std::span<const std::size_t> b);

// How well two positions go together: above 0, or 0 when they do not.
using Likeness = std::function<double(std::size_t inA, std::size_t inB)>;

// Of sequences of these lengths, the pairs in ascending order whose likeness has the greatest sum.
Pairs MostAlikeInOrder(std::size_t lengthA, std::size_t lengthB, const Likeness &likeness);

// Takes the most alike pair first, then the next of what is left. The result is sorted by the first sequence.
Pairs MostAlike(std::size_t lengthA, std::size_t lengthB, const Likeness &likeness);

} // namespace orxemu::tool

#endif
