#include "vosk_manager/ksr_numeral_converter.h"

#include <algorithm>

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

// Removes the last `count` characters when the right-hand part of a scale
// word is shorter than the scale itself, so "one hundred five" overlays 5 on
// the last zero of 100.
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
        m_tensWords.insert(row.word);
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

    for (const auto& entry : m_numberWords)
        if (entry.first.find(' ') == std::string::npos)
            m_tokenClasses[entry.first] |= GroupWord;
    for (const auto& filler : m_fillerWords)
        m_tokenClasses[filler] |= GroupWord;
    m_tokenClasses[m_decimalWord] |= GroupWord;
}

void KSR_NumeralConverter::addNumberWord(const std::string& word, int value)
{
    m_numberWords.emplace(word, value);
}

void KSR_NumeralConverter::addOperator(const std::string& key, const std::string& symbol)
{
    m_operators.emplace(key, symbol);
    const std::size_t blank = key.find(' ');
    if (blank == std::string::npos)
        m_tokenClasses[key] |= Operator;
    else
        m_tokenClasses[key.substr(0, blank)] |= OperatorFirstWord;
}

unsigned char KSR_NumeralConverter::classOf(const std::string& token) const
{
    const auto it = m_tokenClasses.find(token);
    return it == m_tokenClasses.end() ? 0 : it->second;
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
    std::vector<std::string> group;
    bool inGroup = false;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const std::string& token = tokens[i];
        const unsigned char tokenClass = classOf(token);
        if (tokenClass & GroupWord) {
            group.push_back(token);
            inGroup = true;
            continue;
        }
        if (inGroup) {
            appendWithBlank(output, convertGroup(group));
            group.clear();
            inGroup = false;
        }
        // Only tokens that start a two-word key can form one; skipping the
        // lookup for the others gives the same result without building a key.
        if ((tokenClass & OperatorFirstWord) && i + 1 < tokens.size()) {
            const auto pair = m_operators.find(token + " " + tokens[i + 1]);
            if (pair != m_operators.end()) {
                appendWithBlank(output, pair->second);
                ++i;
                continue;
            }
        }
        if (tokenClass & Operator)
            appendWithBlank(output, m_operators.find(token)->second);
        else
            appendWithBlank(output, token);
    }
    if (inGroup)
        appendWithBlank(output, convertGroup(group));
    return output;
}

std::string KSR_NumeralConverter::convertGroup(const std::vector<std::string>& words) const
{
    if (words.empty())
        return std::string();
    // A run of fillers and "point" alone ("a", "and", "the point") goes back
    // into the text exactly as spoken.
    std::string spoken = joinIfNoNumberWord(words);
    if (!spoken.empty())
        return spoken;

    std::string result;
    std::vector<std::string> part;
    for (const std::string& word : words) {
        if (word == m_decimalWord) {
            result += convertInteger(part, 0);
            result += '.';
            part.clear();
        } else {
            part.push_back(word);
        }
    }
    result += convertInteger(part, 0);
    return result;
}

std::string KSR_NumeralConverter::convertInteger(const std::vector<std::string>& words, int level) const
{
    if (words.empty())
        return std::string();
    if (level < 0 || level >= static_cast<int>(m_scaleLevels.size()) || m_scaleLevels[level].next == -1)
        return convertTerminal(words);

    const ScaleLevel& scale = m_scaleLevels[level];
    std::string result;
    std::vector<std::string> left;
    std::vector<std::string> right;
    bool seen = false;
    for (const std::string& word : words) {
        if (isFillerWord(word))
            continue;
        if (word == scale.word && !seen) {
            const std::string multiplier = convertInteger(left, scale.next);
            result = multiplier.empty() ? std::to_string(scale.value) : multiplier + scale.zeros;
            seen = true;
        } else if (word == scale.word) {
            // A repeated scale word in one run is written out at its full
            // value: "one thousand two thousand" gives 1002 then 1000.
            overlay(result, convertInteger(right, scale.next), scale.digits);
            right.clear();
            result += std::to_string(scale.value);
        } else {
            (seen ? right : left).push_back(word);
        }
    }
    if (!seen)
        return convertInteger(left, scale.next);
    if (!right.empty())
        overlay(result, convertInteger(right, scale.next), scale.digits);
    return result;
}

std::string KSR_NumeralConverter::convertTerminal(const std::vector<std::string>& words) const
{
    // Values are concatenated as they come: "nineteen eighty four" is 19 then
    // 84, "one two three" is 123.
    std::string result;
    std::size_t i = 0;
    while (i < words.size()) {
        const std::string& word = words[i];
        if (isFillerWord(word)) {
            ++i;
            continue;
        }
        if (i + 1 < words.size() && m_tensWords.count(word) != 0) {
            const auto pair = m_numberWords.find(word + " " + words[i + 1]);
            if (pair != m_numberWords.end()) {
                result += std::to_string(pair->second);
                i += 2;
                continue;
            }
        }
        result += std::to_string(numberValue(word));
        ++i;
    }
    return result;
}

int KSR_NumeralConverter::numberValue(const std::string& word) const
{
    const auto it = m_numberWords.find(word);
    return it == m_numberWords.end() ? 0 : it->second;
}
