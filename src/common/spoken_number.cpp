#include "common/spoken_number.h"

#include <climits>

namespace KSR {

namespace {

const char* const kSmall[] = {"zero",    "one",     "two",       "three",    "four",     "five",    "six",
                              "seven",   "eight",   "nine",      "ten",      "eleven",   "twelve",  "thirteen",
                              "fourteen", "fifteen", "sixteen",  "seventeen", "eighteen", "nineteen"};

struct Named {
    const char* word;
    long long value;
};

// "fourty" beside "forty": the recognizer's vocabulary may give either.
const Named kTens[] = {{"twenty", 20}, {"thirty", 30}, {"forty", 40},   {"fourty", 40}, {"fifty", 50},
                       {"sixty", 60},  {"seventy", 70}, {"eighty", 80}, {"ninety", 90}};
const Named kScales[] = {{"million", 1000000}, {"thousand", 1000}};

long long valueIn(const Named* table, std::size_t size, const std::string& word)
{
    for (std::size_t i = 0; i < size; ++i)
        if (word == table[i].word)
            return table[i].value;
    return -1;
}

int smallOf(const std::string& word)
{
    for (int value = 0; value < 20; ++value)
        if (word == kSmall[value])
            return value;
    return -1;
}

long long tensOf(const std::string& word) { return valueIn(kTens, sizeof kTens / sizeof kTens[0], word); }
long long scaleOf(const std::string& word) { return valueIn(kScales, sizeof kScales / sizeof kScales[0], word); }

// A number below a thousand, the whole of [begin, end):
//   [(one..nineteen | "a") "hundred"] ["and"] [twenty..ninety [one..nine] | one..nineteen]
// with at least one part. "and" needs a hundred or a scale before it and a
// part after it ("two thousand and five", "one hundred and five").
bool readGroup(const std::vector<std::string>& words, std::size_t begin, std::size_t end, bool afterScale,
               long long& value)
{
    std::size_t at = begin;
    long long result = 0;
    bool hundred = false;
    if (end - at >= 2 && words[at + 1] == "hundred") {
        const int times = words[at] == "a" ? 1 : smallOf(words[at]);
        if (times < 1)
            return false;
        result = times * 100;
        at += 2;
        hundred = true;
    }
    if (at < end && words[at] == "and") {
        if (!(hundred || afterScale) || at + 1 == end)
            return false;
        ++at;
    }
    if (at == end) {
        value = result;
        return hundred;
    }
    const long long tens = tensOf(words[at]);
    if (tens > 0) {
        result += tens;
        ++at;
        if (at < end) {
            const int unit = smallOf(words[at]);
            if (unit < 1 || unit > 9)
                return false;
            result += unit;
            ++at;
        }
    } else {
        const int small = smallOf(words[at]);
        if (small < 1)
            return false;
        result += small;
        ++at;
    }
    value = result;
    return at == end;
}

bool readNatural(const std::vector<std::string>& words, std::size_t begin, std::size_t end, long long& value)
{
    if (end - begin == 1 && words[begin] == "zero") {
        value = 0;
        return true;
    }
    long long total = 0;
    long long lastScale = LLONG_MAX;
    std::size_t from = begin;
    bool scaled = false;
    for (std::size_t at = begin; at < end; ++at) {
        const long long scale = scaleOf(words[at]);
        if (scale < 0)
            continue;
        if (scale >= lastScale)
            return false;  // "two thousand three thousand"
        long long times = 0;
        if (at == from + 1 && words[from] == "a")
            times = 1;  // "a thousand"
        else if (!readGroup(words, from, at, scaled, times) || times == 0)
            return false;
        total += times * scale;
        lastScale = scale;
        from = at + 1;
        scaled = true;
    }
    if (from < end) {
        long long rest = 0;
        if (!readGroup(words, from, end, scaled, rest))
            return false;
        total += rest;
    } else if (!scaled) {
        return false;
    }
    value = total;
    return true;
}

}  // namespace

int SpokenNumber::digitOf(const std::string& word)
{
    if (word == "oh")
        return 0;
    const int small = smallOf(word);
    return small <= 9 ? small : -1;
}

bool SpokenNumber::readDigits(const std::vector<std::string>& words, std::size_t begin, std::size_t end,
                              std::string& digits)
{
    if (begin >= end || end > words.size())
        return false;
    std::string result;
    for (std::size_t at = begin; at < end; ++at) {
        const int digit = digitOf(words[at]);
        if (digit < 0)
            return false;
        result += static_cast<char>('0' + digit);
    }
    digits = result;
    return true;
}

bool SpokenNumber::read(const std::vector<std::string>& words, std::size_t begin, std::size_t end, long long& value)
{
    if (begin >= end || end > words.size())
        return false;
    if (readNatural(words, begin, end, value))
        return true;
    // Digit by digit, two digits or more (one digit is a natural number);
    // at most 18, so that the value fits.
    std::string digits;
    if (end - begin < 2 || end - begin > 18 || !readDigits(words, begin, end, digits))
        return false;
    long long result = 0;
    for (const char digit : digits)
        result = result * 10 + (digit - '0');
    value = result;
    return true;
}

const std::vector<std::string>& SpokenNumber::vocabulary()
{
    static const std::vector<std::string> words = [] {
        std::vector<std::string> all(std::begin(kSmall), std::end(kSmall));
        for (const Named& tens : kTens)
            all.push_back(tens.word);
        for (const Named& scale : kScales)
            all.push_back(scale.word);
        all.insert(all.end(), {"hundred", "and", "a", "oh"});
        return all;
    }();
    return words;
}

namespace {

std::string sayGroup(long long value)
{
    std::string words;
    const auto add = [&words](const std::string& word) { words += (words.empty() ? "" : " ") + word; };
    if (value >= 100) {
        add(kSmall[value / 100]);
        add("hundred");
        value %= 100;
    }
    if (value >= 20) {
        add(kTens[value / 10 - 2 + (value >= 50 ? 1 : 0)].word);  // past "fourty"
        value %= 10;
        if (value > 0)
            add(kSmall[value]);
    } else if (value > 0) {
        add(kSmall[value]);
    }
    return words;
}

}  // namespace

std::string SpokenNumber::say(long long value)
{
    if (value < 0 || value > 999999999)
        return std::string();
    if (value == 0)
        return kSmall[0];
    std::string words;
    const long long scales[] = {1000000, 1000, 1};
    const char* const names[] = {"million", "thousand", ""};
    for (int i = 0; i < 3; ++i) {
        const long long group = value / scales[i] % 1000;
        if (group == 0)
            continue;
        words += (words.empty() ? "" : " ") + sayGroup(group);
        if (*names[i])
            words += std::string(" ") + names[i];
    }
    return words;
}

}  // namespace KSR
