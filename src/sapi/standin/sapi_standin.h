#ifndef KSR_SAPI_STANDIN_SAPI_STANDIN_H
#define KSR_SAPI_STANDIN_SAPI_STANDIN_H

// The part of the Microsoft Speech API 5 (sapi.h) that the SAPI back end uses,
// declared for platforms without Windows. Every interface used is declared
// whole, with its methods in their published order and signatures, so that a
// test double written against these declarations also implements the real
// interface; constants carry their published values. Types that only appear
// in signatures of methods the back end never calls are declared, not
// defined.

#include "sapi/standin/windows_standin.h"

// ---- Types only named in signatures ---------------------------------------
struct ISpNotifySink;
struct ISpNotifyCallback;
struct ISpStreamFormat;
struct ISpVoice;
struct ISpPhraseAlt;
struct IEnumSpObjectTokens;
struct ISpObjectToken;
struct ISpObjectTokenCategory;
struct ISpRecoContext;
struct ISpRecoGrammar;
struct ISpRecoResult;
struct ISpRecognizer;
struct ISpDataKey;
struct ISpPhrase;
struct WAVEFORMATEX;
struct SPRECOCONTEXTSTATUS;
struct SPSERIALIZEDRESULT;
struct SPSERIALIZEDPHRASE;
struct SPBINARYGRAMMAR;
struct SPTEXTSELECTIONINFO;
struct SPRECORESULTTIMES;
typedef void SPNOTIFYCALLBACK(WPARAM wParam, LPARAM lParam);
typedef WCHAR SPPHONEID;

// ---- Languages ------------------------------------------------------------
#define MAKELANGID(p, s) ((((WORD)(s)) << 10) | (WORD)(p))
#define PRIMARYLANGID(lgid) ((WORD)(lgid) & 0x3ff)
#define LANG_GERMAN 0x07
#define LANG_ENGLISH 0x09
#define LANG_FRENCH 0x0c
#define SUBLANG_ENGLISH_US 0x01

// ---- Events ---------------------------------------------------------------
typedef enum SPEVENTLPARAMTYPE {
    SPET_LPARAM_IS_UNDEFINED = 0,
    SPET_LPARAM_IS_TOKEN = 1,
    SPET_LPARAM_IS_OBJECT = 2,
    SPET_LPARAM_IS_POINTER = 3,
    SPET_LPARAM_IS_STRING = 4
} SPEVENTLPARAMTYPE;

typedef enum SPEVENTENUM {
    SPEI_UNDEFINED = 0,
    SPEI_START_INPUT_STREAM = 1,
    SPEI_END_INPUT_STREAM = 2,
    SPEI_VOICE_CHANGE = 3,
    SPEI_TTS_BOOKMARK = 4,
    SPEI_WORD_BOUNDARY = 5,
    SPEI_PHONEME = 6,
    SPEI_SENTENCE_BOUNDARY = 7,
    SPEI_VISEME = 8,
    SPEI_TTS_AUDIO_LEVEL = 9,
    SPEI_TTS_PRIVATE = 15,
    SPEI_MIN_TTS = 1,
    SPEI_MAX_TTS = 15,
    SPEI_END_SR_STREAM = 34,
    SPEI_SOUND_START = 35,
    SPEI_SOUND_END = 36,
    SPEI_PHRASE_START = 37,
    SPEI_RECOGNITION = 38,
    SPEI_HYPOTHESIS = 39,
    SPEI_SR_BOOKMARK = 40,
    SPEI_PROPERTY_NUM_CHANGE = 41,
    SPEI_PROPERTY_STRING_CHANGE = 42,
    SPEI_FALSE_RECOGNITION = 43,
    SPEI_INTERFERENCE = 44,
    SPEI_REQUEST_UI = 45,
    SPEI_RECO_STATE_CHANGE = 46,
    SPEI_ADAPTATION = 47,
    SPEI_START_SR_STREAM = 48,
    SPEI_RECO_OTHER_CONTEXT = 49,
    SPEI_SR_AUDIO_LEVEL = 50,
    SPEI_SR_PRIVATE = 52,
    SPEI_MIN_SR = 34,
    SPEI_MAX_SR = 52,
    SPEI_RESERVED1 = 30,
    SPEI_RESERVED2 = 33,
    SPEI_RESERVED3 = 63
} SPEVENTENUM;

// An interest mask always carries the two reserved "flag check" bits, by which
// SAPI tells a mask built with SPFEI from a plain number.
#define SPFEI_FLAGCHECK ((1ull << SPEI_RESERVED1) | (1ull << SPEI_RESERVED2))
#define SPFEI_ALL_TTS_EVENTS (0x000000000000FFFEull | SPFEI_FLAGCHECK)
#define SPFEI_ALL_SR_EVENTS (0x003ffffc00000000ull | SPFEI_FLAGCHECK)
#define SPFEI_ALL_EVENTS 0xefffffffffffffffull
#define SPFEI(SPEI_ord) ((1ull << SPEI_ord) | SPFEI_FLAGCHECK)

// In C++ the SDK declares the two ids as 16-bit enum bit-fields.
typedef struct SPEVENT {
    SPEVENTENUM eEventId : 16;
    SPEVENTLPARAMTYPE elParamType : 16;
    ULONG ulStreamNum;
    ULONGLONG ullAudioStreamOffset;
    WPARAM wParam;
    LPARAM lParam;
} SPEVENT;

typedef struct SPEVENTSOURCEINFO {
    ULONGLONG ullEventInterest;
    ULONGLONG ullQueuedInterest;
    ULONG ulCount;
} SPEVENTSOURCEINFO;

// ---- Recognizer state -----------------------------------------------------
typedef enum SPRECOSTATE {
    SPRST_INACTIVE = 0,
    SPRST_ACTIVE = 1,
    SPRST_ACTIVE_ALWAYS = 2,
    SPRST_INACTIVE_WITH_PURGE = 3,
    SPRST_NUM_STATES = 4
} SPRECOSTATE;

typedef enum SPAUDIOSTATE { SPAS_CLOSED = 0, SPAS_STOP = 1, SPAS_PAUSE = 2, SPAS_RUN = 3 } SPAUDIOSTATE;

typedef struct SPAUDIOSTATUS {
    LONG cbFreeBuffSpace;
    ULONG cbNonBlockingIO;
    SPAUDIOSTATE State;
    ULONGLONG CurSeekPos;
    ULONGLONG CurDevicePos;
    DWORD dwAudioLevel;
    DWORD dwReserved2;
} SPAUDIOSTATUS;

typedef struct SPRECOGNIZERSTATUS {
    SPAUDIOSTATUS AudioStatus;
    ULONGLONG ullRecognitionStreamPos;
    ULONG ulStreamNumber;
    ULONG ulNumActive;
    CLSID clsidEngine;
    ULONG cLangIDs;
    WORD aLangID[20];
    ULONGLONG ullRecognitionStreamTime;
} SPRECOGNIZERSTATUS;

typedef enum SPSTREAMFORMATTYPE { SPWF_INPUT = 0, SPWF_SRENGINE = 1 } SPSTREAMFORMATTYPE;
typedef enum SPAUDIOOPTIONS { SPAO_NONE = 0, SPAO_RETAIN_AUDIO = 1 } SPAUDIOOPTIONS;
typedef enum SPBOOKMARKOPTIONS { SPBO_NONE = 0, SPBO_PAUSE = 1 } SPBOOKMARKOPTIONS;
typedef enum SPCONTEXTSTATE { SPCS_DISABLED = 0, SPCS_ENABLED = 1 } SPCONTEXTSTATE;
typedef enum SPDATAKEYLOCATION {
    SPDKL_DefaultLocation = 0,
    SPDKL_CurrentUser = 1,
    SPDKL_LocalMachine = 2,
    SPDKL_CurrentConfig = 5
} SPDATAKEYLOCATION;

// ---- Grammars -------------------------------------------------------------
typedef enum SPGRAMMARSTATE { SPGS_DISABLED = 0, SPGS_ENABLED = 1, SPGS_EXCLUSIVE = 3 } SPGRAMMARSTATE;
typedef enum SPRULESTATE {
    SPRS_INACTIVE = 0,
    SPRS_ACTIVE = 1,
    SPRS_ACTIVE_WITH_AUTO_PAUSE = 3
} SPRULESTATE;
typedef enum SPLOADOPTIONS { SPLO_STATIC = 0, SPLO_DYNAMIC = 1 } SPLOADOPTIONS;
typedef enum SPGRAMMARWORDTYPE {
    SPWT_DISPLAY = 0,
    SPWT_LEXICAL = 1,
    SPWT_PRONUNCIATION = 2
} SPGRAMMARWORDTYPE;
typedef enum SPCFGRULEATTRIBUTES {
    SPRAF_TopLevel = 0x1,
    SPRAF_Active = 0x2,
    SPRAF_Export = 0x4,
    SPRAF_Import = 0x8,
    SPRAF_Interpreter = 0x10,
    SPRAF_Dynamic = 0x20,
    SPRAF_AutoPause = 0x10000
} SPCFGRULEATTRIBUTES;
typedef enum SPWORDPRONOUNCEABLE {
    SPWP_UNKNOWN_WORD_UNPRONOUNCEABLE = 0,
    SPWP_UNKNOWN_WORD_PRONOUNCEABLE = 1,
    SPWP_KNOWN_WORD_PRONOUNCEABLE = 2
} SPWORDPRONOUNCEABLE;

DECLARE_HANDLE(SPSTATEHANDLE);
// The special targets of AddRuleTransition: the application's text buffer,
// any words at all, and one word of free dictation.
#define SPRULETRANS_TEXTBUFFER ((SPSTATEHANDLE)(INT_PTR)(-1))
#define SPRULETRANS_WILDCARD ((SPSTATEHANDLE)(INT_PTR)(-2))
#define SPRULETRANS_DICTATION ((SPSTATEHANDLE)(INT_PTR)(-3))

typedef struct tagSPPROPERTYINFO {
    LPCWSTR pszName;
    ULONG ulId;
    LPCWSTR pszValue;
    VARIANT vValue;
} SPPROPERTYINFO;

// ---- Phrases --------------------------------------------------------------
#define SP_LOW_CONFIDENCE (-1)
#define SP_NORMAL_CONFIDENCE (0)
#define SP_HIGH_CONFIDENCE (+1)

typedef enum SPPHRASERNG { SPPR_ALL_ELEMENTS = -1 } SPPHRASERNG;
typedef enum SPDISPLAYATTRIBUTES {
    SPAF_ONE_TRAILING_SPACE = 0x2,
    SPAF_TWO_TRAILING_SPACES = 0x4,
    SPAF_CONSUME_LEADING_SPACES = 0x8,
    SPAF_ALL = 0xf
} SPDISPLAYATTRIBUTES;
#define SP_GETWHOLEPHRASE SPPR_ALL_ELEMENTS
#define SPRR_ALL_ELEMENTS SPPR_ALL_ELEMENTS

typedef struct SPPHRASEELEMENT {
    ULONG ulAudioTimeOffset;
    ULONG ulAudioSizeTime;
    ULONG ulAudioStreamOffset;
    ULONG ulAudioSizeBytes;
    ULONG ulRetainedStreamOffset;
    ULONG ulRetainedSizeBytes;
    LPCWSTR pszDisplayText;
    LPCWSTR pszLexicalForm;
    const SPPHONEID* pszPronunciation;
    BYTE bDisplayAttributes;
    signed char RequiredConfidence;
    signed char ActualConfidence;
    BYTE Reserved;
    float SREngineConfidence;
} SPPHRASEELEMENT;

typedef struct SPPHRASERULE SPPHRASERULE;
struct SPPHRASERULE {
    LPCWSTR pszName;
    ULONG ulId;
    ULONG ulFirstElement;
    ULONG ulCountOfElements;
    const SPPHRASERULE* pNextSibling;
    const SPPHRASERULE* pFirstChild;
    float SREngineConfidence;
    signed char Confidence;
};

typedef struct SPPHRASEPROPERTY SPPHRASEPROPERTY;
struct SPPHRASEPROPERTY {
    LPCWSTR pszName;
    union {
        ULONG ulId;
        struct {
            byte bType;
            byte bReserved;
            unsigned short usArrayIndex;
        } typeInfo;
    };
    LPCWSTR pszValue;
    VARIANT vValue;
    ULONG ulFirstElement;
    ULONG ulCountOfElements;
    const SPPHRASEPROPERTY* pNextSibling;
    const SPPHRASEPROPERTY* pFirstChild;
    float SREngineConfidence;
    signed char Confidence;
};

typedef struct SPPHRASEREPLACEMENT {
    BYTE bDisplayAttributes;
    LPCWSTR pszReplacementText;
    ULONG ulFirstElement;
    ULONG ulCountOfElements;
} SPPHRASEREPLACEMENT;

typedef struct SPPHRASE {
    ULONG cbSize;
    WORD LangID;
    WORD wHomophoneGroupId;
    ULONGLONG ullGrammarID;
    ULONGLONG ftStartTime;
    ULONGLONG ullAudioStreamPosition;
    ULONG ulAudioSizeBytes;
    ULONG ulRetainedSizeBytes;
    ULONG ulAudioSizeTime;
    SPPHRASERULE Rule;
    const SPPHRASEPROPERTY* pProperties;
    const SPPHRASEELEMENT* pElements;
    ULONG cReplacements;
    const SPPHRASEREPLACEMENT* pReplacements;
    GUID SREngineID;
    ULONG ulSREnginePrivateDataSize;
    const BYTE* pSREnginePrivateData;
} SPPHRASE;

// ---- Names ----------------------------------------------------------------
#define SPCAT_AUDIOIN u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Speech\\AudioInput"
#define SPPROP_HIGH_CONFIDENCE_THRESHOLD u"HighConfidenceThreshold"
#define SPPROP_NORMAL_CONFIDENCE_THRESHOLD u"NormalConfidenceThreshold"
#define SPPROP_LOW_CONFIDENCE_THRESHOLD u"LowConfidenceThreshold"
#define SPDUI_UserTraining u"UserTraining"
#define SPDUI_MicTraining u"MicTraining"

extern const CLSID CLSID_SpInprocRecognizer;
extern const CLSID CLSID_SpSharedRecognizer;
extern const CLSID CLSID_SpObjectTokenCategory;
extern const CLSID CLSID_SpObjectToken;
extern const IID IID_ISpNotifySource;
extern const IID IID_ISpEventSource;
extern const IID IID_ISpProperties;
extern const IID IID_ISpRecognizer;
extern const IID IID_ISpRecoContext;
extern const IID IID_ISpGrammarBuilder;
extern const IID IID_ISpRecoGrammar;
extern const IID IID_ISpPhrase;
extern const IID IID_ISpRecoResult;
extern const IID IID_ISpDataKey;
extern const IID IID_ISpObjectTokenCategory;
extern const IID IID_ISpObjectToken;

// ---- Interfaces -----------------------------------------------------------
struct ISpNotifySource : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetNotifySink(ISpNotifySink* pNotifySink) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNotifyWindowMessage(HWND hWnd, UINT Msg, WPARAM wParam,
                                                             LPARAM lParam) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNotifyCallbackFunction(SPNOTIFYCALLBACK* pfnCallback,
                                                                WPARAM wParam, LPARAM lParam) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNotifyCallbackInterface(ISpNotifyCallback* pSpCallback,
                                                                 WPARAM wParam, LPARAM lParam) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetNotifyWin32Event() = 0;
    virtual HRESULT STDMETHODCALLTYPE WaitForNotifyEvent(DWORD dwMilliseconds) = 0;
    virtual HANDLE STDMETHODCALLTYPE GetNotifyEventHandle() = 0;
};

struct ISpEventSource : public ISpNotifySource {
    virtual HRESULT STDMETHODCALLTYPE SetInterest(ULONGLONG ullEventInterest,
                                                  ULONGLONG ullQueuedInterest) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetEvents(ULONG ulCount, SPEVENT* pEventArray,
                                                ULONG* pulFetched) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInfo(SPEVENTSOURCEINFO* pInfo) = 0;
};

struct ISpProperties : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetPropertyNum(LPCWSTR pName, LONG lValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyNum(LPCWSTR pName, LONG* plValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPropertyString(LPCWSTR pName, LPCWSTR pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyString(LPCWSTR pName, LPWSTR* ppCoMemValue) = 0;
};

struct ISpDataKey : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetData(LPCWSTR pszValueName, ULONG cbData, const BYTE* pData) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetData(LPCWSTR pszValueName, ULONG* pcbData, BYTE* pData) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetStringValue(LPCWSTR pszValueName, LPCWSTR pszValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStringValue(LPCWSTR pszValueName, LPWSTR* ppszValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDWORD(LPCWSTR pszValueName, DWORD dwValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDWORD(LPCWSTR pszValueName, DWORD* pdwValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenKey(LPCWSTR pszSubKeyName, ISpDataKey** ppSubKey) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateKey(LPCWSTR pszSubKey, ISpDataKey** ppSubKey) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteKey(LPCWSTR pszSubKey) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeleteValue(LPCWSTR pszValueName) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumKeys(ULONG Index, LPWSTR* ppszSubKeyName) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumValues(ULONG Index, LPWSTR* ppszValueName) = 0;
};

struct ISpObjectTokenCategory : public ISpDataKey {
    virtual HRESULT STDMETHODCALLTYPE SetId(LPCWSTR pszCategoryId, BOOL fCreateIfNotExist) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetId(LPWSTR* ppszCoMemCategoryId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDataKey(SPDATAKEYLOCATION spdkl, ISpDataKey** ppDataKey) = 0;
    virtual HRESULT STDMETHODCALLTYPE EnumTokens(LPCWSTR pzsReqAttribs, LPCWSTR pszOptAttribs,
                                                 IEnumSpObjectTokens** ppEnum) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDefaultTokenId(LPCWSTR pszTokenId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultTokenId(LPWSTR* ppszCoMemTokenId) = 0;
};

struct ISpObjectToken : public ISpDataKey {
    virtual HRESULT STDMETHODCALLTYPE SetId(LPCWSTR pszCategoryId, LPCWSTR pszTokenId,
                                            BOOL fCreateIfNotExist) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetId(LPWSTR* ppszCoMemTokenId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCategory(ISpObjectTokenCategory** ppTokenCategory) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, DWORD dwClsContext,
                                                     REFIID riid, void** ppvObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStorageFileName(REFCLSID clsidCaller, LPCWSTR pszValueName,
                                                         LPCWSTR pszFileNameSpecifier, ULONG nFolder,
                                                         LPWSTR* ppszFilePath) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveStorageFileName(REFCLSID clsidCaller, LPCWSTR pszKeyName,
                                                            BOOL fDeleteFile) = 0;
    virtual HRESULT STDMETHODCALLTYPE Remove(const CLSID* pclsidCaller) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsUISupported(LPCWSTR pszTypeOfUI, void* pvExtraData,
                                                    ULONG cbExtraData, IUnknown* punkObject,
                                                    BOOL* pfSupported) = 0;
    virtual HRESULT STDMETHODCALLTYPE DisplayUI(HWND hwndParent, LPCWSTR pszTitle, LPCWSTR pszTypeOfUI,
                                                void* pvExtraData, ULONG cbExtraData,
                                                IUnknown* punkObject) = 0;
    virtual HRESULT STDMETHODCALLTYPE MatchesAttributes(LPCWSTR pszAttributes, BOOL* pfMatches) = 0;
};

struct ISpPhrase : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetPhrase(SPPHRASE** ppCoMemPhrase) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSerializedPhrase(SPSERIALIZEDPHRASE** ppCoMemPhrase) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetText(ULONG ulStart, ULONG ulCount, BOOL fUseTextReplacements,
                                              LPWSTR* ppszCoMemText, BYTE* pbDisplayAttributes) = 0;
    virtual HRESULT STDMETHODCALLTYPE Discard(DWORD dwValueTypes) = 0;
};

struct ISpRecoResult : public ISpPhrase {
    virtual HRESULT STDMETHODCALLTYPE GetResultTimes(SPRECORESULTTIMES* pTimes) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAlternates(ULONG ulStartElement, ULONG cElements,
                                                    ULONG ulRequestCount, ISpPhraseAlt** ppPhrases,
                                                    ULONG* pcPhrasesReturned) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAudio(ULONG ulStartElement, ULONG cElements,
                                               ISpStreamFormat** ppStream) = 0;
    virtual HRESULT STDMETHODCALLTYPE SpeakAudio(ULONG ulStartElement, ULONG cElements, DWORD dwFlags,
                                                 ULONG* pulStreamNumber) = 0;
    virtual HRESULT STDMETHODCALLTYPE Serialize(SPSERIALIZEDRESULT** ppCoMemSerializedResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE ScaleAudio(const GUID* pAudioFormatId,
                                                 const WAVEFORMATEX* pWaveFormatEx) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecoContext(ISpRecoContext** ppRecoContext) = 0;
};

struct ISpGrammarBuilder : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ResetGrammar(WORD NewLanguage) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRule(LPCWSTR pszRuleName, DWORD dwRuleId, DWORD dwAttributes,
                                              BOOL fCreateIfNotExist, SPSTATEHANDLE* phInitialState) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearRule(SPSTATEHANDLE hState) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateNewState(SPSTATEHANDLE hState, SPSTATEHANDLE* phState) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddWordTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState,
                                                        LPCWSTR psz, LPCWSTR pszSeparators,
                                                        SPGRAMMARWORDTYPE eWordType, float Weight,
                                                        const SPPROPERTYINFO* pPropInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddRuleTransition(SPSTATEHANDLE hFromState, SPSTATEHANDLE hToState,
                                                        SPSTATEHANDLE hRule, float Weight,
                                                        const SPPROPERTYINFO* pPropInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE AddResource(SPSTATEHANDLE hRuleState, LPCWSTR pszResourceName,
                                                  LPCWSTR pszResourceValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit(DWORD dwReserved) = 0;
};

struct ISpRecoGrammar : public ISpGrammarBuilder {
    virtual HRESULT STDMETHODCALLTYPE GetGrammarId(ULONGLONG* pullGrammarId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecoContext(ISpRecoContext** ppRecoCtxt) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadCmdFromFile(LPCWSTR pszFileName, SPLOADOPTIONS Options) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadCmdFromObject(REFCLSID rcid, LPCWSTR pszGrammarName,
                                                        SPLOADOPTIONS Options) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadCmdFromResource(HMODULE hModule, LPCWSTR pszResourceName,
                                                          LPCWSTR pszResourceType, WORD wLanguage,
                                                          SPLOADOPTIONS Options) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadCmdFromMemory(const SPBINARYGRAMMAR* pGrammar,
                                                        SPLOADOPTIONS Options) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadCmdFromProprietaryGrammar(REFGUID rguidParam,
                                                                    LPCWSTR pszStringParam,
                                                                    const void* pvDataPrarm,
                                                                    ULONG cbDataSize,
                                                                    SPLOADOPTIONS Options) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRuleState(LPCWSTR pszName, void* pReserved,
                                                   SPRULESTATE NewState) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRuleIdState(ULONG ulRuleId, SPRULESTATE NewState) = 0;
    virtual HRESULT STDMETHODCALLTYPE LoadDictation(LPCWSTR pszTopicName, SPLOADOPTIONS Options) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnloadDictation() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDictationState(SPRULESTATE NewState) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetWordSequenceData(const WCHAR* pText, ULONG cchText,
                                                          const SPTEXTSELECTIONINFO* pInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetTextSelection(const SPTEXTSELECTIONINFO* pInfo) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsPronounceable(LPCWSTR pszWord,
                                                      SPWORDPRONOUNCEABLE* pWordPronounceable) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetGrammarState(SPGRAMMARSTATE eGrammarState) = 0;
    virtual HRESULT STDMETHODCALLTYPE SaveCmd(IStream* pStream, LPWSTR* ppszCoMemErrorText) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetGrammarState(SPGRAMMARSTATE* peGrammarState) = 0;
};

struct ISpRecoContext : public ISpEventSource {
    virtual HRESULT STDMETHODCALLTYPE GetRecognizer(ISpRecognizer** ppRecognizer) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateGrammar(ULONGLONG ullGrammarId, ISpRecoGrammar** ppGrammar) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStatus(SPRECOCONTEXTSTATUS* pStatus) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaxAlternates(ULONG* pcAlternates) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMaxAlternates(ULONG cAlternates) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAudioOptions(SPAUDIOOPTIONS Options, const GUID* pAudioFormatId,
                                                      const WAVEFORMATEX* pWaveFormatEx) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAudioOptions(SPAUDIOOPTIONS* pOptions, GUID* pAudioFormatId,
                                                      WAVEFORMATEX** ppCoMemWFEX) = 0;
    virtual HRESULT STDMETHODCALLTYPE DeserializeResult(const SPSERIALIZEDRESULT* pSerializedResult,
                                                        ISpRecoResult** ppResult) = 0;
    virtual HRESULT STDMETHODCALLTYPE Bookmark(SPBOOKMARKOPTIONS Options, ULONGLONG ullStreamPosition,
                                               LPARAM lparamEvent) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetAdaptationData(LPCWSTR pAdaptationData, const ULONG cch) = 0;
    virtual HRESULT STDMETHODCALLTYPE Pause(DWORD dwReserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE Resume(DWORD dwReserved) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVoice(ISpVoice* pVoice, BOOL fAllowFormatChanges) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVoice(ISpVoice** ppVoice) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetVoicePurgeEvent(ULONGLONG ullEventInterest) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVoicePurgeEvent(ULONGLONG* pullEventInterest) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetContextState(SPCONTEXTSTATE eContextState) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetContextState(SPCONTEXTSTATE* peContextState) = 0;
};

struct ISpRecognizer : public ISpProperties {
    virtual HRESULT STDMETHODCALLTYPE SetRecognizer(ISpObjectToken* pRecognizer) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecognizer(ISpObjectToken** ppRecognizer) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetInput(IUnknown* pUnkInput, BOOL fAllowFormatChanges) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputObjectToken(ISpObjectToken** ppToken) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputStream(ISpStreamFormat** ppStream) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateRecoContext(ISpRecoContext** ppNewCtxt) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecoProfile(ISpObjectToken** ppToken) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRecoProfile(ISpObjectToken* pToken) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsSharedInstance() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRecoState(SPRECOSTATE* pState) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRecoState(SPRECOSTATE NewState) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetStatus(SPRECOGNIZERSTATUS* pStatus) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFormat(SPSTREAMFORMATTYPE WaveFormatType, GUID* pFormatId,
                                                WAVEFORMATEX** ppCoMemWFEX) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsUISupported(LPCWSTR pszTypeOfUI, void* pvExtraData,
                                                    ULONG cbExtraData, BOOL* pfSupported) = 0;
    virtual HRESULT STDMETHODCALLTYPE DisplayUI(HWND hwndParent, LPCWSTR pszTitle, LPCWSTR pszTypeOfUI,
                                                void* pvExtraData, ULONG cbExtraData) = 0;
    virtual HRESULT STDMETHODCALLTYPE EmulateRecognition(ISpPhrase* pPhrase) = 0;
};

#endif
