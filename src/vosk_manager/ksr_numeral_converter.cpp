#include "vosk_manager/ksr_numeral_converter.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "ksr_types.h"

namespace {

const char* const kUnits[] = {"one", "two", "three", "four", "five", "six", "seven", "eight", "nine"};

const char* const kTeens[] = {"zero",     "one",     "two",       "three",    "four",
                              "five",     "six",     "seven",     "eight",    "nine",
                              "ten",      "eleven",  "twelve",    "thirteen", "fourteen",
                              "fifteen",  "sixteen", "seventeen", "eighteen", "nineteen"};

struct TensRow {
    const char* word;
    int value;
};

// "fourty" is a second spelling beside "forty": the recognizer's vocabulary
// may produce either.
const TensRow kTensRows[] = {{"twenty", 20}, {"thirty", 30}, {"forty", 40},   {"fourty", 40}, {"fifty", 50},
                             {"sixty", 60},  {"seventy", 70}, {"eighty", 80}, {"ninety", 90}};

void appendWithBlank(std::string& text, const std::string& word)
{
    if (!text.empty())
        text += ' ';
    text += word;
}

// Decimal form without separators or leading zeros (0 gives "0").
void appendDecimal(std::string& text, int value)
{
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    text.append(digits, end);
}

// Removes the last characters when the right-hand part of a scale word is
// shorter than the scale itself, so "one hundred five" overlays 5 on the
// last zero of 100, then appends the part.
void overlay(std::string& result, const std::string& right, int digits)
{
    const std::size_t n = right.size();
    if (n > 0 && n < static_cast<std::size_t>(digits))
        result.erase(result.size() - std::min(n, result.size()));
    result += right;
}

}  // namespace

KSR_NumeralConverter::KSR_NumeralConverter()
{
    for (int value = 0; value < 20; ++value)
        addNumberWord(kTeens[value], value);
    for (const TensRow& row : kTensRows) {
        addNumberWord(row.word, row.value);
        for (int unit = 1; unit <= 9; ++unit)
            addNumberWord(std::string(row.word) + " " + kUnits[unit - 1], row.value + unit);
    }
    addNumberWord("hundred", 100);
    addNumberWord("thousand", 1000);
    addNumberWord("million", 1000000);
    addNumberWord("billion", 1000000000);

    m_scaleLevels = {
        {"billion", "000000000", 1000000000, 10, 1},
        {"million", "000000", 1000000, 7, 2},
        {"thousand", "000", 1000, 4, 3},
        {"hundred", "00", 100, 3, 4},
        {"ten", "0", 10, 2, -1},
    };

    m_fillerWords = {"and", "a"};
    m_decimalWord = "point";

    addOperator("minus", "-");
    addOperator("negative", "-");
    addOperator("subtract", "-");
    addOperator("plus", "+");
    addOperator("positive", "+");
    addOperator("times", "*");
    addOperator("multiply", "*");
    addOperator("multiply by", "*");
    addOperator("multiplied", "*");
    addOperator("multiplied by", "*");
    addOperator("division", "/");
    addOperator("divided", "/");
    addOperator("divided by", "/");
    addOperator("percent", "%");
    addOperator("equals", "=");
    addOperator("equals to", "=");

    // What the tables say about each single word, for one lookup per token.
    for (const auto& entry : m_numberWords) {
        const std::size_t blank = entry.first.find(' ');
        if (blank == std::string::npos) {
            WordInfo& info = m_wordInfos[entry.first];
            info.groupWord = info.number = true;
            info.value = entry.second;
        } else {
            // Every two-word key is a tens word and a unit word.
            m_wordInfos[entry.first.substr(0, blank)].tens = true;
            m_wordInfos[entry.first.substr(blank + 1)].unit = true;
        }
    }
    for (std::size_t level = 0; level < m_scaleLevels.size(); ++level)
        if (m_scaleLevels[level].next != -1)
            m_wordInfos[m_scaleLevels[level].word].scale = static_cast<int>(level);
    for (const auto& filler : m_fillerWords) {
        WordInfo& info = m_wordInfos[filler];
        info.groupWord = info.filler = true;
    }
    WordInfo& decimal = m_wordInfos[m_decimalWord];
    decimal.groupWord = decimal.decimal = true;
}

void KSR_NumeralConverter::addNumberWord(const std::string& word, int value)
{
    m_numberWords.emplace(word, value);
}

void KSR_NumeralConverter::addOperator(const std::string& key, const std::string& symbol)
{
    m_operators.emplace(key, symbol);
    const std::size_t blank = key.find(' ');
    if (blank == std::string::npos) {
        WordInfo& info = m_wordInfos[key];
        info.isOperator = true;
        info.symbol = symbol;
    } else {
        m_wordInfos[key.substr(0, blank)].operatorFirstWord = true;
    }
}

const KSR_NumeralConverter::WordInfo* KSR_NumeralConverter::infoOf(const std::string& word) const
{
    static const WordInfo unknown;
    const auto it = m_wordInfos.find(word);
    return it == m_wordInfos.end() ? &unknown : &it->second;
}

std::vector<const KSR_NumeralConverter::WordInfo*> KSR_NumeralConverter::infosOf(
    const std::vector<std::string>& words) const
{
    std::vector<const WordInfo*> infos;
    infos.reserve(words.size());
    for (const std::string& word : words)
        infos.push_back(infoOf(word));
    return infos;
}

bool KSR_NumeralConverter::isNumberWord(const std::string& word) const
{
    return !word.empty() && m_numberWords.count(word) != 0;
}

bool KSR_NumeralConverter::isFillerWord(const std::string& word) const
{
    return !word.empty() && m_fillerWords.count(word) != 0;
}

std::string KSR_NumeralConverter::joinIfNoNumberWord(const std::vector<std::string>& words) const
{
    std::string joined;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (isNumberWord(words[i]))
            return std::string();
        if (i > 0)
            joined += ' ';
        joined += words[i];
    }
    return joined;
}

std::string KSR_NumeralConverter::convertText(const std::string& text) const
{
    if (text.empty())
        return std::string();
    std::vector<std::string> tokens;
    KSR::splitString(text, ' ', false, tokens);

    std::string output;
    output.reserve(text.size());
    // The current group is the run of tokens from groupStart; its word
    // records are collected alongside.
    std::vector<const WordInfo*> group;
    std::size_t groupStart = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string& token = tokens[i];
        const WordInfo* info = infoOf(token);
        if (info->groupWord) {
            if (group.empty())
                groupStart = i;
            group.push_back(info);
            continue;
        }
        if (!group.empty()) {
            appendWithBlank(output, convertRun(group.data(), &tokens[groupStart], group.size()));
            group.clear();
        }
        // Only a token that starts a two-word key can form one; the second
        // word is consumed with it.
        if (info->operatorFirstWord && i + 1 < tokens.size()) {
            const auto pair = m_operators.find(token + " " + tokens[i + 1]);
            if (pair != m_operators.end()) {
                appendWithBlank(output, pair->second);
                ++i;
                continue;
            }
        }
        appendWithBlank(output, info->isOperator ? info->symbol : token);
    }
    if (!group.empty())
        appendWithBlank(output, convertRun(group.data(), &tokens[groupStart], group.size()));
    return output;
}

std::string KSR_NumeralConverter::convertGroup(const std::vector<std::string>& words) const
{
    const std::vector<const WordInfo*> infos = infosOf(words);
    return convertRun(infos.data(), words.data(), words.size());
}

std::string KSR_NumeralConverter::convertRun(Words words, const std::string* texts, std::size_t count) const
{
    if (count == 0)
        return std::string();
    // A run of fillers and "point" alone ("a", "and", "the point") goes back
    // into the text exactly as spoken.
    if (std::none_of(words, words + count, [](const WordInfo* w) { return w->number; })) {
        std::string spoken;
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0)
                spoken += ' ';
            spoken += texts[i];
        }
        return spoken;
    }
    std::string result;
    std::size_t partStart = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (words[i]->decimal) {
            result += convertInteger(words + partStart, i - partStart, 0);
            result += '.';
            partStart = i + 1;
        }
    }
    result += convertInteger(words + partStart, count - partStart, 0);
    return result;
}

std::string KSR_NumeralConverter::convertInteger(const std::vector<std::string>& words, int level) const
{
    const std::vector<const WordInfo*> infos = infosOf(words);
    return convertInteger(infos.data(), infos.size(), level);
}

std::string KSR_NumeralConverter::convertInteger(Words words, std::size_t count, int level) const
{
    if (count == 0)
        return std::string();
    if (level < 0 || level >= static_cast<int>(m_scaleLevels.size()) || m_scaleLevels[level].next == -1)
        return convertTerminal(words, count);
    // Scale levels drop the fillers before anything is handed down, so that
    // "seventy and five" meets the last level as "seventy five". Runs handed
    // down are then filler-free and need no copy.
    const auto isFiller = [](const WordInfo* w) { return w->filler; };
    if (std::any_of(words, words + count, isFiller)) {
        std::vector<const WordInfo*> kept;
        kept.reserve(count);
        std::remove_copy_if(words, words + count, std::back_inserter(kept), isFiller);
        return convertInteger(kept.data(), kept.size(), level);
    }

    const ScaleLevel& scale = m_scaleLevels[level];
    const auto isScaleWord = [level](const WordInfo* w) { return w->scale == level; };
    const Words first = std::find_if(words, words + count, isScaleWord);
    if (first == words + count)
        return convertInteger(words, count, scale.next);

    // Left of the first scale word: its multiplier, if any.
    std::string result = convertInteger(words, static_cast<std::size_t>(first - words), scale.next);
    if (result.empty())
        appendDecimal(result, scale.value);  // "hundred", "a hundred"
    else
        result += scale.zeros;

    Words rightStart = first + 1;
    const Words end = words + count;
    for (Words at = rightStart; at != end; ++at) {
        if (!isScaleWord(*at))
            continue;
        // A repeated scale word in one run is written out at its full value:
        // "one thousand two thousand" gives 1002 then 1000.
        overlay(result, convertInteger(rightStart, static_cast<std::size_t>(at - rightStart), scale.next),
                scale.digits);
        appendDecimal(result, scale.value);
        rightStart = at + 1;
    }
    overlay(result, convertInteger(rightStart, static_cast<std::size_t>(end - rightStart), scale.next),
            scale.digits);
    return result;
}

// Values are concatenated as they come: "nineteen eighty four" is 19 then 84,
// "one two three" is 123. A word outside the table counts as 0.
std::string KSR_NumeralConverter::convertTerminal(Words words, std::size_t count) const
{
    std::string result;
    std::size_t i = 0;
    while (i < count) {
        const WordInfo* word = words[i];
        if (word->filler) {
            ++i;
            continue;
        }
        // The two-word keys are exactly a tens word followed by a unit word.
        if (word->tens && i + 1 < count && words[i + 1]->unit) {
            appendDecimal(result, word->value + words[i + 1]->value);
            i += 2;
            continue;
        }
        appendDecimal(result, word->value);
        ++i;
    }
    return result;
}
