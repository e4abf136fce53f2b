// libFuzzer target for command patterns: the first line of the input is a
// pattern, the rest the words a recognizer proposed. Any pattern is parsed
// or refused with an error, never both and never neither; a parsed pattern
// matches any words without crashing or hanging; and what a match reports
// is consistent: slots in order, each over words of the utterance that it
// quotes exactly, numbers read back from their own words.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/command_pattern.h"
#include "common/spoken_number.h"
#include "ksr_types.h"

namespace {

std::vector<std::string> splitWords(const std::string& text)
{
    std::vector<std::string> words;
    KSR::splitString(text, ' ', false, words);
    return words;
}

void check(bool property)
{
    if (!property)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t newline = input.find('\n');
    const std::string text = input.substr(0, newline);
    const std::vector<std::string> words =
        splitWords(newline == std::string::npos ? std::string() : input.substr(newline + 1));
    const KSR::SpokenLists lists = {{"colours", {{"red", "1"}, {"dark red", "2"}, {"", "3"}}}};

    std::string error;
    const auto pattern = KSR::CommandPattern::parse(text, {"colours"}, error);
    check((pattern == nullptr) != error.empty());
    if (!pattern)
        return 0;
    pattern->vocabulary(lists);
    pattern->endsWithText();
    pattern->grammarPhrases(lists);
    const bool canGoOn = pattern->couldContinue(words, lists);
    const bool withUnheard = pattern->matchWithUnheardText(words, lists);
    std::vector<KSR::Argument> arguments;
    if (!pattern->match(words, lists, arguments))
        return 0;
    // A command is also one when its text slots may hold unnamed words.
    check(!pattern->hasText() || withUnheard);
    (void)canGoOn;
    std::size_t after = 0;
    for (const KSR::Argument& argument : arguments) {
        check(argument.firstWord >= after && argument.wordCount > 0);
        check(argument.firstWord + argument.wordCount <= words.size());
        std::string quoted;
        for (std::size_t i = argument.firstWord; i < argument.firstWord + argument.wordCount; ++i)
            quoted += (i > argument.firstWord ? " " : "") + words[i];
        check(quoted == argument.words);
        if (argument.type == KSR::SlotType::Number) {
            long long value = -1;
            check(KSR::SpokenNumber::read(words, argument.firstWord, argument.firstWord + argument.wordCount, value));
            check(value == argument.number && value >= 0);
        }
        after = argument.firstWord + argument.wordCount;
    }
    return 0;
}
