#ifndef KSR_COMMON_SPOKEN_NUMBER_H
#define KSR_COMMON_SPOKEN_NUMBER_H

#include <cstddef>
#include <string>
#include <vector>

namespace KSR {

// Reads a whole run of recognized words as one integer, the way people say
// numbers in a command: naturally ("forty two", "one hundred and five",
// "two thousand", "a hundred") up to the millions, or digit by digit ("four
// two", "five oh one"). The run must be exactly one number: "four hundred
// thirty three" is 433 and never 4133, "twenty twenty" and "hundred five
// hundred" are none. Pure functions, no state.
class SpokenNumber {
public:
    // The words [begin, end) of `words` as a number; false when they are none.
    static bool read(const std::vector<std::string>& words, std::size_t begin, std::size_t end, long long& value);
    // The same run as digits said one by one ("zero" or "oh" for 0): the
    // string keeps its leading zeros; false unless every word is a digit.
    static bool readDigits(const std::vector<std::string>& words, std::size_t begin, std::size_t end,
                           std::string& digits);
    // Every word `read` and `readDigits` understand.
    static const std::vector<std::string>& vocabulary();
    // The natural words of 0 <= value < a thousand millions, without "and"
    // ("one hundred five", "two thousand"); empty outside that range.
    static std::string say(long long value);
    // The word of a digit, or -1.
    static int digitOf(const std::string& word);
};

}  // namespace KSR

#endif
