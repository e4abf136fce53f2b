// The values and layouts the back end relies on, checked against the
// published SAPI 5 and COM numbers. On Windows this checks the SDK headers,
// elsewhere the stand-in: both passing means the stand-in is faithful.

#include <cstddef>
#include <gtest/gtest.h>

#include "ksr_sapi_com.h"
#include "ksr_sapi_engine.h"

TEST(SapiDeclarations, EventIds)
{
    EXPECT_EQ(SPEI_PHRASE_START, 37);
    EXPECT_EQ(SPEI_RECOGNITION, 38);
    EXPECT_EQ(SPEI_HYPOTHESIS, 39);
    EXPECT_EQ(SPEI_FALSE_RECOGNITION, 43);
    EXPECT_EQ(SPEI_INTERFERENCE, 44);
    EXPECT_EQ(SPEI_RECO_STATE_CHANGE, 46);
    EXPECT_EQ(SPEI_RECO_OTHER_CONTEXT, 49);
    EXPECT_EQ(SPEI_RESERVED1, 30);
    EXPECT_EQ(SPEI_RESERVED2, 33);
    EXPECT_EQ(SPEI_SOUND_START, 35);
}

TEST(SapiDeclarations, InterestMacroAddsTheFlagCheckBits)
{
    EXPECT_EQ(SPFEI_FLAGCHECK, (1ull << 30) | (1ull << 33));
    EXPECT_EQ(SPFEI(SPEI_RECOGNITION), (1ull << 38) | (1ull << 30) | (1ull << 33));
    EXPECT_EQ(SPFEI_ALL_SR_EVENTS, 0x003ffffc00000000ull | (1ull << 30) | (1ull << 33));
}

TEST(SapiDeclarations, EngineInterestMaskHasExactlyTheNineBits)
{
    const std::uint64_t mask = KSR_Engine::interestMask();
    EXPECT_EQ(mask, 0x258e240000000ull);
    std::uint64_t expected = 0;
    for (int bit : {30, 33, 37, 38, 39, 43, 44, 46, 49})
        expected |= 1ull << bit;
    EXPECT_EQ(mask, expected);
}

TEST(SapiDeclarations, StateAndOptionValues)
{
    EXPECT_EQ(SPRST_INACTIVE, 0);
    EXPECT_EQ(SPRST_ACTIVE, 1);
    EXPECT_EQ(SPRST_ACTIVE_ALWAYS, 2);
    EXPECT_EQ(SPRST_INACTIVE_WITH_PURGE, 3);
    EXPECT_EQ(SPGS_DISABLED, 0);
    EXPECT_EQ(SPGS_ENABLED, 1);
    EXPECT_EQ(SPGS_EXCLUSIVE, 3);
    EXPECT_EQ(SPRS_INACTIVE, 0);
    EXPECT_EQ(SPRS_ACTIVE, 1);
    EXPECT_EQ(SPRS_ACTIVE_WITH_AUTO_PAUSE, 3);
    EXPECT_EQ(SPLO_STATIC, 0);
    EXPECT_EQ(SPLO_DYNAMIC, 1);
    EXPECT_EQ(SPWT_LEXICAL, 1);
    EXPECT_EQ(SPRAF_TopLevel, 1);
    EXPECT_EQ(SPRAF_Active, 2);
    EXPECT_EQ(SPET_LPARAM_IS_UNDEFINED, 0);
    EXPECT_EQ(SPET_LPARAM_IS_TOKEN, 1);
    EXPECT_EQ(SPET_LPARAM_IS_OBJECT, 2);
    EXPECT_EQ(SPET_LPARAM_IS_POINTER, 3);
    EXPECT_EQ(SPET_LPARAM_IS_STRING, 4);
    EXPECT_EQ(SP_LOW_CONFIDENCE, -1);
    EXPECT_EQ(SP_NORMAL_CONFIDENCE, 0);
    EXPECT_EQ(SP_HIGH_CONFIDENCE, 1);
    EXPECT_EQ(static_cast<ULONG>(SP_GETWHOLEPHRASE), 0xFFFFFFFFu);
    EXPECT_EQ(SPAF_ONE_TRAILING_SPACE, 0x2);
    EXPECT_EQ(SPAF_TWO_TRAILING_SPACES, 0x4);
    EXPECT_EQ(SPWP_UNKNOWN_WORD_UNPRONOUNCEABLE, 0);
    EXPECT_EQ(CLSCTX_ALL, 0x17);
}

TEST(SapiDeclarations, ResultCodes)
{
    EXPECT_EQ(static_cast<std::uint32_t>(S_OK), 0u);
    EXPECT_EQ(static_cast<std::uint32_t>(S_FALSE), 1u);
    EXPECT_EQ(static_cast<std::uint32_t>(E_FAIL), 0x80004005u);
    EXPECT_EQ(static_cast<std::uint32_t>(E_NOINTERFACE), 0x80004002u);
    EXPECT_EQ(static_cast<std::uint32_t>(E_OUTOFMEMORY), 0x8007000Eu);
    EXPECT_EQ(static_cast<std::uint32_t>(E_INVALIDARG), 0x80070057u);
    EXPECT_EQ(static_cast<std::uint32_t>(REGDB_E_CLASSNOTREG), 0x80040154u);
    EXPECT_EQ(static_cast<std::uint32_t>(CO_E_NOTINITIALIZED), 0x800401F0u);
    EXPECT_TRUE(FAILED(E_FAIL));
    EXPECT_TRUE(SUCCEEDED(S_FALSE));
    EXPECT_EQ(sizeof(HRESULT), 4u);
}

TEST(SapiDeclarations, NamesOfPropertiesDialogsAndCategory)
{
    const auto text = [](const WCHAR* wide) {
        std::string narrow;
        for (; *wide; ++wide)
            narrow.push_back(static_cast<char>(*wide));
        return narrow;
    };
    EXPECT_EQ(text(SPPROP_LOW_CONFIDENCE_THRESHOLD), "LowConfidenceThreshold");
    EXPECT_EQ(text(SPPROP_NORMAL_CONFIDENCE_THRESHOLD), "NormalConfidenceThreshold");
    EXPECT_EQ(text(SPPROP_HIGH_CONFIDENCE_THRESHOLD), "HighConfidenceThreshold");
    EXPECT_EQ(text(SPDUI_MicTraining), "MicTraining");
    EXPECT_EQ(text(SPDUI_UserTraining), "UserTraining");
    EXPECT_EQ(text(SPCAT_AUDIOIN), "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\AudioInput");
    EXPECT_EQ(sizeof(WCHAR), 2u);
}

TEST(SapiDeclarations, ClassAndInterfaceIds)
{
    EXPECT_EQ(CLSID_SpInprocRecognizer.Data1, 0x41b89b6bu);
    EXPECT_EQ(CLSID_SpSharedRecognizer.Data1, 0x3bee4890u);
    EXPECT_EQ(CLSID_SpObjectTokenCategory.Data1, 0xa910187fu);
    EXPECT_EQ(CLSID_SpObjectToken.Data1, 0xef411752u);
    EXPECT_EQ(IID_ISpRecognizer.Data1, 0xc2b5f241u);
    EXPECT_EQ(IID_ISpRecoContext.Data1, 0xf740a62fu);
    EXPECT_EQ(IID_ISpRecoGrammar.Data1, 0x2177db29u);
    EXPECT_EQ(IID_ISpRecoResult.Data1, 0x20b053beu);
    EXPECT_EQ(IID_ISpObjectTokenCategory.Data1, 0x2d3d3845u);
    EXPECT_EQ(IID_ISpObjectToken.Data1, 0x14056589u);
    EXPECT_EQ(IID_ISpObjectToken.Data4[7], 0xc0);
    EXPECT_EQ(IID_IClassFactory.Data1, 1u);
}

namespace {

// offsetof for records the SDK declares with C++ inheritance (SPPHRASE
// extends SPPHRASE_50 from SAPI 5.3 on), where offsetof is not defined.
template <class Record, class Field>
std::size_t offsetIn(const Record& record, const Field& field)
{
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record));
}

}  // namespace

// The layouts of the records SAPI hands over (64-bit).
TEST(SapiDeclarations, RecordLayouts)
{
    EXPECT_EQ(sizeof(VARIANT), 24u);
    EXPECT_EQ(offsetof(VARIANT, lVal), 8u);
    EXPECT_EQ(sizeof(SPEVENT), 32u);
    EXPECT_EQ(offsetof(SPEVENT, wParam), 16u);
    EXPECT_EQ(offsetof(SPEVENT, lParam), 24u);
    EXPECT_EQ(sizeof(SPPROPERTYINFO), 48u);
    EXPECT_EQ(offsetof(SPPROPERTYINFO, vValue), 24u);
    EXPECT_EQ(sizeof(SPPHRASEELEMENT), 56u);
    EXPECT_EQ(offsetof(SPPHRASEELEMENT, bDisplayAttributes), 48u);
    EXPECT_EQ(offsetof(SPPHRASEELEMENT, RequiredConfidence), 49u);
    EXPECT_EQ(offsetof(SPPHRASEELEMENT, SREngineConfidence), 52u);
    EXPECT_EQ(sizeof(SPPHRASERULE), 48u);
    EXPECT_EQ(sizeof(SPPHRASEPROPERTY), 80u);
    EXPECT_EQ(offsetof(SPPHRASEPROPERTY, vValue), 24u);
    EXPECT_EQ(offsetof(SPPHRASEPROPERTY, pNextSibling), 56u);
    const SPPHRASE phrase = {};
    EXPECT_EQ(offsetIn(phrase, phrase.ullGrammarID), 8u);
    EXPECT_EQ(offsetIn(phrase, phrase.Rule), 48u);
    EXPECT_EQ(offsetIn(phrase, phrase.pProperties), 96u);
    EXPECT_EQ(offsetIn(phrase, phrase.pElements), 104u);
    EXPECT_EQ(offsetof(SPRECOGNIZERSTATUS, cLangIDs), 72u);
    EXPECT_EQ(offsetof(SPRECOGNIZERSTATUS, aLangID), 76u);
    EXPECT_EQ(sizeof(SPRECOGNIZERSTATUS), 128u);
}

TEST(SapiDeclarations, SpecialRuleTargetsAndDynamicRules)
{
    EXPECT_EQ(reinterpret_cast<INT_PTR>(SPRULETRANS_TEXTBUFFER), -1);
    EXPECT_EQ(reinterpret_cast<INT_PTR>(SPRULETRANS_WILDCARD), -2);
    EXPECT_EQ(reinterpret_cast<INT_PTR>(SPRULETRANS_DICTATION), -3);
    EXPECT_EQ(SPRAF_Dynamic, 0x20);
    EXPECT_EQ(VT_EMPTY, 0);
}
