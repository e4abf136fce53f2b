#ifndef KSR_NUMERAL_CONVERTER_H
#define KSR_NUMERAL_CONVERTER_H

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// Rewrites dictated number words into digits, "point" into "." and spoken
// arithmetic words into operator symbols; every other word passes unchanged:
// "two plus two equals four" -> "2 + 2 = 4", "three point one four" -> "3.14".
//
// Numbers are assembled as strings of digits, never as numeric values, so any
// run of number words converts without overflow ("a billion billion" gives
// twenty digits).
//
// The tables are filled once by the constructor and never change, so one
// converter may be used from several threads at once. A word that is missing
// from the number table counts as 0 at the last scale level without being
// entered into the table; convertText never passes such a word down, so its
// output is the same as if it had been.
class KSR_NumeralConverter {
public:
    // One step of the scale descent: billion, million, thousand, hundred and
    // the terminal level (next == -1), whose other fields are never read.
    struct ScaleLevel {
        std::string word;   // the scale word this level splits on
        std::string zeros;  // the zeros that stand for the scale after a multiplier
        int value;          // written in decimal when the scale word has no multiplier
        int digits;         // decimal digits of value; shorter right parts overlay the zeros
        int next;           // index of the next smaller level, -1 at the end
    };

    KSR_NumeralConverter();

    // The only operation dictation needs: converts a blank-separated text.
    std::string convertText(const std::string& text) const;

    // The building blocks, public so that their rules can be checked one by one.
    bool isNumberWord(const std::string& word) const;
    bool isFillerWord(const std::string& word) const;
    std::string joinIfNoNumberWord(const std::vector<std::string>& words) const;
    std::string convertGroup(const std::vector<std::string>& words) const;
    std::string convertInteger(const std::vector<std::string>& words, int level) const;

    const std::unordered_map<std::string, int>& numberWords() const { return m_numberWords; }
    const std::vector<ScaleLevel>& scaleLevels() const { return m_scaleLevels; }
    const std::unordered_set<std::string>& fillerWords() const { return m_fillerWords; }
    const std::string& decimalWord() const { return m_decimalWord; }
    const std::unordered_map<std::string, std::string>& operators() const { return m_operators; }

private:
    // Everything conversion needs to know about one blank-free word, found
    // with a single lookup per token; derived from the tables by the
    // constructor.
    struct WordInfo {
        bool groupWord = false;           // number word, filler or the decimal word
        bool number = false;              // a one-word key of the number table
        bool filler = false;
        bool decimal = false;             // the decimal word
        bool tens = false;                // starts a two-word number key ("twenty")
        bool unit = false;                // ends one ("one" ... "nine")
        int scale = -1;                   // the scale level whose word it is, or -1
        int value = 0;                    // its number-table value (0 for others)
        bool isOperator = false;          // a one-word operator key
        bool operatorFirstWord = false;   // starts a two-word operator key
        std::string symbol;               // the one-word operator's symbol
    };
    using Words = const WordInfo* const*;

    void addNumberWord(const std::string& word, int value);
    void addOperator(const std::string& key, const std::string& symbol);
    const WordInfo* infoOf(const std::string& word) const;
    std::vector<const WordInfo*> infosOf(const std::vector<std::string>& words) const;
    // The conversions on runs of words; a run is a pointer and a count.
    std::string convertRun(Words words, const std::string* texts, std::size_t count) const;
    std::string convertInteger(Words words, std::size_t count, int level) const;
    std::string convertTerminal(Words words, std::size_t count) const;

    std::unordered_map<std::string, int> m_numberWords;
    std::vector<ScaleLevel> m_scaleLevels;
    std::unordered_set<std::string> m_fillerWords;
    std::string m_decimalWord;
    std::unordered_map<std::string, std::string> m_operators;

    std::unordered_map<std::string, WordInfo> m_wordInfos;
};

#endif
