// What Qt sees of the host interfaces: class names, the signals and slots in
// their declared order with their parameters and access, the registered
// record types, and the cast to the manager base. Hosts connect by name
// (SIGNAL()/SLOT() strings, QML, QMetaObject::invokeMethod), so this surface
// is part of the module's boundary. Signals added beside the original ones
// come after them, so the original indices stay.
#include <gtest/gtest.h>

#include <QMetaMethod>
#include <QMetaType>
#include <QWidget>

#include "interface_test_support.h"

static const bool kEnvironment = [] {
    ::setenv("ALSOFT_DRIVERS", "null", 1);
    return true;
}();

namespace {

struct Method {
    std::string signature;
    QMetaMethod::Access access;

    bool operator==(const Method& other) const { return signature == other.signature && access == other.access; }
};

std::ostream& operator<<(std::ostream& out, const Method& method)
{
    return out << method.signature << (method.access == QMetaMethod::Public ? " public" : " not public");
}

// The methods of `kind` that the class itself declares (not its bases), in
// declaration order.
std::vector<Method> ownMethods(const QMetaObject& meta, QMetaMethod::MethodType kind)
{
    std::vector<Method> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() == kind)
            methods.push_back({method.methodSignature().toStdString(), method.access()});
    }
    return methods;
}

int typeId(const char* name)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QMetaType::fromName(name).id();
#else
    return QMetaType::type(name);
#endif
}

}  // namespace

TEST(QtSurface, TheBaseDeclaresItsSignalsAndTwoPublicSlots)
{
    const QMetaObject& meta = K_SRInterface::staticMetaObject;
    EXPECT_STREQ(meta.className(), "K_SRInterface");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    // Qt 5 and 6 make every signal public, so hosts can connect to them.
    const std::vector<Method> expectedSignals = {
        {"grammarActivatedSignal(KSR::GrammarId,bool)", QMetaMethod::Public},
        {"recognitionResult(KSR::SRData)", QMetaMethod::Public},
        {"recognitionFailed()", QMetaMethod::Public},
        {"hypothesisResult(KSR::SRData)", QMetaMethod::Public},
        {"listeningStarted()", QMetaMethod::Public},
        {"listeningStopped(K_SRInterface::ListeningEnd)", QMetaMethod::Public},
    };
    EXPECT_EQ(ownMethods(meta, QMetaMethod::Signal), expectedSignals);
    const std::vector<Method> expectedSlots = {
        {"speechRecognitionStarted()", QMetaMethod::Public},
        {"speechRecognitionEnded()", QMetaMethod::Public},
    };
    EXPECT_EQ(ownMethods(meta, QMetaMethod::Slot), expectedSlots);
}

// start(), stop() and the dialogs are plain member functions: nothing
// reaches them through the meta-object, yet a host connects to them by
// member-function pointer, and calls queued to the object run in its
// thread (the host's).
TEST(QtSurface, StartStopAndTheDialogsAreNoSlots)
{
    const QMetaObject& meta = K_SRInterface::staticMetaObject;
    for (const char* name : {"start()", "stop()", "openMicrophoneSetup()", "openVoiceTraining()"})
        EXPECT_EQ(meta.indexOfMethod(name), -1) << name;
    const QMetaObject& vosk = K_VoskInterface::staticMetaObject;
    for (const char* name : {"start()", "stop()", "openMicrophoneSetup()", "openVoiceTraining()"})
        EXPECT_EQ(vosk.indexOfMethod(name), -1) << name;
}

TEST(QtSurface, TheVoskInterfaceAddsItsModeAndMicrophoneSignalsAndTwoSlots)
{
    const QMetaObject& meta = K_VoskInterface::staticMetaObject;
    EXPECT_STREQ(meta.className(), "K_VoskInterface");
    EXPECT_EQ(meta.superClass(), &K_SRInterface::staticMetaObject);
    const std::vector<Method> expectedSignals = {
        {"dictationActivated(bool)", QMetaMethod::Public},
        {"numeralsModeActivated(bool)", QMetaMethod::Public},
        {"spellingModeActivated(bool)", QMetaMethod::Public},
        {"capitalsModeActivated(bool)", QMetaMethod::Public},
        {"microphoneDeviceChanged(QString)", QMetaMethod::Public},
        {"microphoneFrequencyChanged(int)", QMetaMethod::Public},
        {"microphoneDisconnected(QString)", QMetaMethod::Public},
        {"microphoneReconnected(QString)", QMetaMethod::Public},
    };
    EXPECT_EQ(ownMethods(meta, QMetaMethod::Signal), expectedSignals);
    const std::vector<Method> expectedSlots = {
        {"microphoneDeviceChangedSlot(QString)", QMetaMethod::Public},
        {"microphoneFrequencyChangedSlot(int)", QMetaMethod::Public},
    };
    EXPECT_EQ(ownMethods(meta, QMetaMethod::Slot), expectedSlots);
    // The two slots keep their parameter names.
    const QMetaMethod device = meta.method(meta.indexOfSlot("microphoneDeviceChangedSlot(QString)"));
    EXPECT_EQ(device.parameterNames(), QList<QByteArray>{"device"});
    const QMetaMethod frequency = meta.method(meta.indexOfSlot("microphoneFrequencyChangedSlot(int)"));
    EXPECT_EQ(frequency.parameterNames(), QList<QByteArray>{"freq"});
}

TEST(QtSurface, TheVoskInterfaceCastsToItsManagerBaseByName)
{
    ASSERT_TRUE(kEnvironment);
    K_VoskInterface iface(nullptr);
    EXPECT_EQ(iface.qt_metacast("KSR_VoskManager"), static_cast<void*>(static_cast<KSR_VoskManager*>(&iface)));
    EXPECT_EQ(iface.qt_metacast("K_SRInterface"), static_cast<void*>(static_cast<K_SRInterface*>(&iface)));
    EXPECT_EQ(iface.qt_metacast("KSR_Manager"), nullptr);
}

// GrammarId is unsigned 64-bit, CommandId int. RuleId is 32 bits wide:
// `unsigned long` where that type is 32 bits (QMetaType::ULong, as on
// Windows), the 32-bit unsigned int (QMetaType::UInt) where long is wider.
TEST(QtSurface, TheRecordTypesAreRegisteredUnderTheirNames)
{
    K_SRInterface::registerKSRTypes();
    EXPECT_EQ(typeId("KSR::GrammarId"), int(QMetaType::ULongLong));
    EXPECT_EQ(typeId("KSR::CommandId"), int(QMetaType::Int));
    const int ruleType = sizeof(unsigned long) == 4 ? int(QMetaType::ULong) : int(QMetaType::UInt);
    EXPECT_EQ(typeId("KSR::RuleId"), ruleType);
    EXPECT_EQ(qMetaTypeId<KSR::RuleId>(), ruleType);
    EXPECT_EQ(sizeof(KSR::RuleId), 4U);
    const int record = typeId("KSR::SRData");
    EXPECT_EQ(record, qMetaTypeId<KSR::SRData>());
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    EXPECT_STREQ(QMetaType(record).name(), "KSR::SRData");
#else
    EXPECT_STREQ(QMetaType::typeName(record), "KSR::SRData");
#endif
    EXPECT_EQ(typeId("K_SRInterface::ListeningEnd"), qMetaTypeId<K_SRInterface::ListeningEnd>());
}
