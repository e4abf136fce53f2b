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
    // What one blank-separated token is, found with a single lookup on the
    // hot path of convertText.
    enum TokenClass : unsigned char {
        GroupWord = 1,          // number word, filler or the decimal word
        Operator = 2,           // a one-word operator key
        OperatorFirstWord = 4,  // first word of a two-word operator key
    };

    void addNumberWord(const std::string& word, int value);
    void addOperator(const std::string& key, const std::string& symbol);
    unsigned char classOf(const std::string& token) const;
    std::string convertTerminal(const std::vector<std::string>& words) const;
    int numberValue(const std::string& word) const;

    std::unordered_map<std::string, int> m_numberWords;
    std::vector<ScaleLevel> m_scaleLevels;
    std::unordered_set<std::string> m_fillerWords;
    std::string m_decimalWord;
    std::unordered_map<std::string, std::string> m_operators;

    // Derived from the tables above by the constructor.
    std::unordered_map<std::string, unsigned char> m_tokenClasses;
    std::unordered_set<std::string> m_tensWords;  // words that start a two-word number key
};

#endif
