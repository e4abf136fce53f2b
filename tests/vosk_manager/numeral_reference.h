#ifndef KSR_TESTS_NUMERAL_REFERENCE_H
#define KSR_TESTS_NUMERAL_REFERENCE_H

// A plain, word-for-word version of the spoken-number conversion rules, over
// tables written out apart from the converter's (numeral_tables.h), with a
// full table lookup at every step and no shortcut. Tests and the fuzz target
// compare the converter, which is tuned for speed, against it: a rule or a
// table entry the converter gets wrong shows as a difference.

#include <map>
#include <string>
#include <vector>

#include "ksr_types.h"
#include "numeral_tables.h"

class NumeralReference {
public:
    NumeralReference()
        : m_numbers(NumeralTables::numberWords().begin(), NumeralTables::numberWords().end()),
          m_operators(NumeralTables::operators().begin(), NumeralTables::operators().end())
    {
    }

    std::string convertText(const std::string& text) const
    {
        if (text.empty())
            return std::string();
        std::vector<std::string> tokens;
        KSR::splitString(text, ' ', false, tokens);
        std::vector<std::string> output, group;
        bool inGroup = false;
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            const std::string& token = tokens[i];
            if (number(token) || filler(token) || token == NumeralTables::decimalWord()) {
                group.push_back(token);
                inGroup = true;
                continue;
            }
            if (inGroup) {
                output.push_back(convertGroup(group));
                group.clear();
                inGroup = false;
            }
            if (i + 1 < tokens.size()) {
                const auto pair = m_operators.find(token + " " + tokens[i + 1]);
                if (pair != m_operators.end()) {
                    output.push_back(pair->second);
                    ++i;
                    continue;
                }
            }
            const auto single = m_operators.find(token);
            output.push_back(single != m_operators.end() ? single->second : token);
        }
        if (inGroup)
            output.push_back(convertGroup(group));
        return join(output);
    }

    std::string convertGroup(const std::vector<std::string>& words) const
    {
        if (words.empty())
            return std::string();
        bool anyNumber = false;
        for (const auto& word : words)
            anyNumber = anyNumber || number(word);
        if (!anyNumber)
            return join(words);
        std::string result;
        std::vector<std::string> part;
        for (const auto& word : words) {
            if (word == NumeralTables::decimalWord()) {
                result += convertInteger(part, 0) + ".";
                part.clear();
            } else {
                part.push_back(word);
            }
        }
        return result + convertInteger(part, 0);
    }

    std::string convertInteger(const std::vector<std::string>& words, int level) const
    {
        if (words.empty())
            return std::string();
        const NumeralTables::ScaleLevel& L = NumeralTables::scaleLevels()[static_cast<std::size_t>(level)];
        if (L.next == -1) {
            std::string result;
            std::size_t i = 0;
            while (i < words.size()) {
                if (filler(words[i])) {
                    ++i;
                } else if (i + 1 < words.size() && number(words[i] + " " + words[i + 1])) {
                    result += std::to_string(m_numbers.at(words[i] + " " + words[i + 1]));
                    i += 2;
                } else {
                    const auto it = m_numbers.find(words[i]);
                    result += std::to_string(it == m_numbers.end() ? 0 : it->second);
                    ++i;
                }
            }
            return result;
        }
        std::string result;
        std::vector<std::string> left, right;
        bool seen = false;
        for (const auto& word : words) {
            if (filler(word))
                continue;
            if (word == L.word && !seen) {
                const std::string m = convertInteger(left, L.next);
                result = m.empty() ? std::to_string(L.value) : m + L.zeros;
                seen = true;
            } else if (word == L.word) {
                appendRight(result, convertInteger(right, L.next), L.digits);
                right.clear();
                result += std::to_string(L.value);
            } else {
                (seen ? right : left).push_back(word);
            }
        }
        if (!seen)
            return convertInteger(left, L.next);
        if (!right.empty())
            appendRight(result, convertInteger(right, L.next), L.digits);
        return result;
    }

private:
    bool number(const std::string& word) const { return !word.empty() && m_numbers.count(word) != 0; }
    static bool filler(const std::string& word)
    {
        return !word.empty() && NumeralTables::fillerWords().count(word) != 0;
    }

    static void appendRight(std::string& result, const std::string& r, int digits)
    {
        const std::size_t n = r.size();
        if (n > 0 && n < static_cast<std::size_t>(digits))
            result.erase(result.size() - n);
        result += r;
    }

    static std::string join(const std::vector<std::string>& words)
    {
        std::string joined;
        for (std::size_t i = 0; i < words.size(); ++i)
            joined += (i ? " " : "") + words[i];
        return joined;
    }

    const std::map<std::string, int> m_numbers;
    const std::map<std::string, std::string> m_operators;
};

#endif
