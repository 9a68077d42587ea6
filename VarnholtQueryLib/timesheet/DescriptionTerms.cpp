#include "timesheet/DescriptionTerms.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <unordered_set>

#include "redaction/DeduplicationService.h"

namespace VarnholtQueryLib {
namespace DescriptionTerms {

namespace {

constexpr std::size_t kLeastLetters = 3;

// Words that say nothing about a topic: articles, pronouns, prepositions,
// conjunctions, auxiliaries and their contractions as a word run cuts them
// ("doesn't" is "doesn" and "t"). Kept sorted, so that the README can show
// the list as it stands here.
const std::vector<std::string_view> kCommonWords = {
    "about", "above", "across", "after", "again", "against", "all", "almost", "along", "also", "although",
    "always", "among", "and", "another", "any", "anyone", "anything", "are", "aren", "around", "because",
    "been", "before", "behind", "being", "below", "beside", "besides", "between", "beyond", "both", "but",
    "can", "cannot", "could", "couldn", "did", "didn", "does", "doesn", "doing", "don", "done", "down",
    "during", "each", "either", "else", "even", "ever", "every", "few", "for", "from", "further", "get",
    "gets", "getting", "got", "had", "hadn", "has", "hasn", "have", "haven", "having", "her", "here", "hers",
    "herself", "him", "himself", "his", "how", "however", "into", "isn", "its", "itself", "just", "least",
    "less", "like", "many", "may", "might", "mightn", "more", "most", "much", "must", "mustn", "myself",
    "near", "need", "needn", "neither", "never", "next", "nor", "not", "now", "off", "often", "once", "one",
    "only", "onto", "other", "others", "our", "ours", "ourselves", "out", "over", "own", "per", "quite",
    "rather", "same", "several", "shall", "shan", "she", "should", "shouldn", "since", "some", "such", "than",
    "that", "the", "their", "theirs", "them", "themselves", "then", "there", "these", "they", "this", "those",
    "though", "through", "thus", "too", "toward", "towards", "two", "under", "until", "upon", "very", "via",
    "was", "wasn", "were", "weren", "what", "when", "where", "whether", "which", "while", "who", "whom",
    "whose", "why", "will", "with", "within", "without", "won", "would", "wouldn", "yet", "you", "your",
    "yours", "yourself", "yourselves"
};

// A word as the text holds it, and whether it is a term.
struct Word {
    std::string key;
    bool term = false;
};

bool isCommon(const std::string& key) {
    return std::binary_search(kCommonWords.begin(), kCommonWords.end(), std::string_view(key));
}

// The name key of a word; ASCII words, most of them, without ICU.
std::string keyOf(std::string_view word, bool ascii) {
    if (!ascii) return DeduplicationService::nameKey(std::string(word));
    std::string key(word);
    for (char& c : key) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return key;
}

}  // namespace

const std::vector<std::string_view>& commonWords() { return kCommonWords; }

std::vector<std::string> termsOf(std::string_view description) {
    std::vector<std::string> terms;
    std::unordered_set<std::string> seen;
    const auto add = [&](std::string term) {
        if (seen.insert(term).second) terms.push_back(std::move(term));
    };

    const auto* bytes = reinterpret_cast<const std::uint8_t*>(description.data());
    const auto length = static_cast<std::int32_t>(description.size());
    std::int32_t offset = 0;
    std::int32_t wordStart = -1;
    std::size_t letters = 0;
    bool ascii = true;
    bool previousIsTerm = false;
    std::string previousKey;
    const auto finishWord = [&](std::int32_t end) {
        if (wordStart < 0) return;
        const std::string_view text = description.substr(static_cast<std::size_t>(wordStart),
                                                         static_cast<std::size_t>(end - wordStart));
        Word word{keyOf(text, ascii), false};
        word.term = letters >= kLeastLetters && !isCommon(word.key);
        if (word.term) {
            add(word.key);
            if (previousIsTerm) add(previousKey + " " + word.key);
        }
        previousIsTerm = word.term;
        previousKey = std::move(word.key);
        wordStart = -1;
        letters = 0;
        ascii = true;
    };
    while (offset < length) {
        const std::int32_t start = offset;
        UChar32 character = 0;
        U8_NEXT(bytes, offset, length, character);
        // An ill-formed sequence (negative) separates, as punctuation does.
        const std::uint32_t category = character < 0 ? 0 : U_GET_GC_MASK(character);
        const bool letter = (category & U_GC_L_MASK) != 0;
        const bool digit = (category & U_GC_ND_MASK) != 0;
        if (!letter && !digit) {
            finishWord(start);
            continue;
        }
        if (wordStart < 0) wordStart = start;
        if (letter) ++letters;
        if (character >= 0x80) ascii = false;
    }
    finishWord(length);
    return terms;
}

}  // namespace DescriptionTerms
}  // namespace VarnholtQueryLib
