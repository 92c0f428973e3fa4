// text.hpp -- text helpers of the host: the distance between two words, and
// the nearest of a set of names to a word (a misspelt entry, a help topic).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace talvo {

// Edit distance with adjacent transpositions (the optimal string alignment
// form of the Damerau-Levenshtein distance), case-sensitive.
size_t edit_distance(std::string_view a, std::string_view b);

// The candidates close enough to `word` to be a slip of the keyboard (a few
// edits, more for long words; a difference of letter case alone counts as
// one edit), closest first, at most `most` of them, and only the closest and
// those one edit further.
std::vector<std::string> nearest_names(std::string_view word, const std::vector<std::string> &candidates,
                                       size_t most);

} // namespace talvo
