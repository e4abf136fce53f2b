// What Qt sees of K_SapiInterface: its class name and base, and no signals
// or slots of its own (everything a host connects to is K_SRInterface's).
#include <gtest/gtest.h>

#include <QMetaMethod>

#include "k_sapi_interface.h"

TEST(SapiQtSurface, TheSapiInterfaceDeclaresNoSignalsOrSlotsOfItsOwn)
{
    const QMetaObject& meta = K_SapiInterface::staticMetaObject;
    EXPECT_STREQ(meta.className(), "K_SapiInterface");
    EXPECT_EQ(meta.superClass(), &K_SRInterface::staticMetaObject);
    EXPECT_EQ(meta.methodOffset(), meta.methodCount());
    // The loop's two slots are the base's, reached through its meta-object.
    EXPECT_GE(meta.indexOfSlot("speechRecognitionStarted()"), 0);
    EXPECT_LT(meta.indexOfSlot("speechRecognitionStarted()"), meta.methodOffset());
    for (const char* name : {"start()", "stop()", "openMicrophoneSetup()", "openVoiceTraining()"})
        EXPECT_EQ(meta.indexOfMethod(name), -1) << name;
}
