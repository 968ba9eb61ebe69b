#include "words.h"

#include <algorithm>

namespace text_host {

namespace {

// Not std::isalpha and std::tolower: those ask the locale.
bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

char lowerCase(char letter) { return static_cast<char>(letter | 0x20); }

bool isCommoner(const WordCount& a, const WordCount& b) {
    return a.count != b.count ? a.count > b.count : a.word < b.word;
}

}  // namespace

bool takeWord(std::string_view& text, std::string& word) {
    const std::string_view::iterator begin = std::find_if(text.begin(), text.end(), isLetter);
    const std::string_view::iterator end = std::find_if_not(begin, text.end(), isLetter);
    word.resize(static_cast<std::size_t>(end - begin));
    std::transform(begin, end, word.begin(), lowerCase);
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    return !word.empty();
}

std::vector<WordCount> commonest(const Counts& counts, std::size_t most) {
    std::vector<WordCount> words;
    words.reserve(counts.size());
    for (const auto& [word, count] : counts) {
        words.push_back({word, count});
    }
    const auto end = words.begin() + static_cast<std::ptrdiff_t>(std::min(most, words.size()));
    std::partial_sort(words.begin(), end, words.end(), isCommoner);
    words.erase(end, words.end());
    return words;
}

}  // namespace text_host
