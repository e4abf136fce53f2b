// UTF-8 to UTF-16 for text given to SAPI, and SAPI's text narrowed back.

#include <gtest/gtest.h>

#include "sapi/ksr_utf16.h"

namespace {

KSR::WideString units(std::initializer_list<unsigned> codes)
{
    KSR::WideString out;
    for (unsigned code : codes)
        out.push_back(static_cast<WCHAR>(code));
    return out;
}

}  // namespace

TEST(Utf16, AsciiConvertsUnitForUnit)
{
    EXPECT_EQ(KSR::utf8ToUtf16("open file"), units({'o', 'p', 'e', 'n', ' ', 'f', 'i', 'l', 'e'}));
    EXPECT_EQ(KSR::utf8ToUtf16(""), KSR::WideString());
}

TEST(Utf16, TwoAndThreeByteSequencesBecomeOneUnit)
{
    EXPECT_EQ(KSR::utf8ToUtf16("K\xC3\xBC" "che"), units({'K', 0xFC, 'c', 'h', 'e'}));
    EXPECT_EQ(KSR::utf8ToUtf16("\xE2\x82\xAC"), units({0x20AC}));
}

TEST(Utf16, FourByteSequenceBecomesASurrogatePair)
{
    EXPECT_EQ(KSR::utf8ToUtf16("\xF0\x9F\x8E\xA4"), units({0xD83C, 0xDFA4}));
}

TEST(Utf16, InvalidBytesBecomeOneReplacementEach)
{
    // A lone continuation byte, a truncated sequence at the end, an
    // overlong "/" and an encoded surrogate.
    EXPECT_EQ(KSR::utf8ToUtf16("a\x80" "b"), units({'a', 0xFFFD, 'b'}));
    EXPECT_EQ(KSR::utf8ToUtf16("a\xE2\x82"), units({'a', 0xFFFD, 0xFFFD}));
    EXPECT_EQ(KSR::utf8ToUtf16("\xC0\xAF"), units({0xFFFD, 0xFFFD}));
    EXPECT_EQ(KSR::utf8ToUtf16("\xED\xA0\x80"), units({0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(KSR::utf8ToUtf16("\xF4\x90\x80\x80"), units({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(KSR::utf8ToUtf16("\xFF"), units({0xFFFD}));
}

TEST(Utf16, LowBytesKeepTheLowByteOfEachUnit)
{
    const KSR::WideString text = units({'c', 'a', 'f', 0xE9, ' ', 0x20AC});
    EXPECT_EQ(KSR::lowBytes(text.c_str()), std::string("caf\xE9 \xAC"));
    EXPECT_EQ(KSR::lowBytes(nullptr), "");
}
