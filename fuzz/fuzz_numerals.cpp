// libFuzzer target for the spoken-number converter: any text converts
// without crashing or hanging, the output never holds an empty token, every
// ordinary word of the input comes out unchanged and in order, and the result
// is the one the word-for-word version of the rules gives.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "ksr_types.h"
#include "numeral_reference.h"
#include "numeral_tables.h"
#include "vosk_manager/ksr_numeral_converter.h"

namespace {

const KSR_NumeralConverter& converter()
{
    static const KSR_NumeralConverter instance;
    return instance;
}

// Told apart by the tables written out for the tests, not by the converter's.
const std::map<std::string, std::string>& operators()
{
    static const std::map<std::string, std::string> table(NumeralTables::operators().begin(),
                                                          NumeralTables::operators().end());
    return table;
}

bool isGroupWord(const std::string& token)
{
    static const std::map<std::string, int> numbers(NumeralTables::numberWords().begin(),
                                                    NumeralTables::numberWords().end());
    return numbers.count(token) || NumeralTables::fillerWords().count(token) || token == NumeralTables::decimalWord();
}

// Tokens that conversion may produce from table words; an ordinary input
// word of the same shape cannot be told apart from them, so it is left out
// of the comparison on both sides.
bool mayBeProduced(const std::string& token)
{
    if (isGroupWord(token))
        return true;
    for (const auto& entry : operators())
        if (entry.second == token)
            return true;
    return token.find_first_not_of("0123456789.") == std::string::npos;
}

// The ordinary words of the input: neither group words nor operators nor the
// second word of a two-word operator.
std::vector<std::string> ordinaryWords(const std::vector<std::string>& tokens)
{
    std::vector<std::string> words;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (isGroupWord(tokens[i]))
            continue;
        if (i + 1 < tokens.size() && operators().count(tokens[i] + " " + tokens[i + 1])) {
            ++i;
            continue;
        }
        if (operators().count(tokens[i]))
            continue;
        if (!mayBeProduced(tokens[i]))
            words.push_back(tokens[i]);
    }
    return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string out = converter().convertText(text);

    std::vector<std::string> in;
    KSR::splitString(text, ' ', false, in);
    std::vector<std::string> produced;
    if (KSR::splitString(out, ' ', true, produced) > 0 && out.empty())
        produced.clear();
    std::vector<std::string> kept;
    for (const auto& token : produced) {
        if (token.empty())
            std::abort();  // a doubled, leading or trailing blank
        if (!mayBeProduced(token))
            kept.push_back(token);
    }
    if (kept != ordinaryWords(in))
        std::abort();
    static const NumeralReference reference;
    if (out != reference.convertText(text))
        std::abort();
    return 0;
}
