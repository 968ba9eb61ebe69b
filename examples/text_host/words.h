#pragma once

/// @file
/// What a word is, and how words are counted.
///
/// A word is the longest run of ASCII letters, in lower case: "Don't" is "don" and "t". Bytes outside ASCII separate
/// words. The locale has no influence, and the counts are those of
/// @code
/// LC_ALL=C tr -cs A-Za-z '\n' < FILE | tr A-Z a-z | grep . | sort | uniq -c | sort -k1,1nr -k2,2
/// @endcode

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace text_host {

/// How often each word occurs. The words themselves are kept elsewhere (`Dictionary`) and must outlive the counts.
using Counts = std::unordered_map<std::string_view, std::uint64_t>;

struct WordCount {
    std::string_view word;
    std::uint64_t count;

    friend bool operator==(const WordCount&, const WordCount&) = default;
};

/// Takes the next word out of the text, from its front, and puts it into `word`; false where there is none left.
bool takeWord(std::string_view& text, std::string& word);

/// The words that occur most often, at most as many as asked for; words that are equally common come in byte order.
std::vector<WordCount> commonest(const Counts& counts, std::size_t most);

}  // namespace text_host
