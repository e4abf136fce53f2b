// K_VoskInterface finding its acoustic model and the model's sample rate:
// the environment variable, the folder beside the host's resource directory,
// "mfcc.conf" at the model's top or in its "conf" folder, and the
// "--sample-frequency" option. Runs on the libvosk test double (which
// records the path it was given) and OpenAL's null back end.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include "fake_vosk.h"
#include "interface_test_support.h"
#include "log_capture.h"

static const bool kEnvironment = [] {
    ::setenv("ALSOFT_DRIVERS", "null", 1);
    return true;
}();

namespace {

const char* const kNoModel = "Engine: You need to set a valid model!";

std::string lastModelPath()
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    return FakeVosk::state().lastModelPath;
}

int modelsCreated()
{
    std::lock_guard<std::mutex> lock(FakeVosk::mutex());
    return FakeVosk::state().modelsAlive;
}

class ModelSearch : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(kEnvironment);
        ASSERT_TRUE(folder.isValid());
        FakeVosk::reset();
        KSR::setResourceDirFunction({});
        unsetModelVariable();
    }
    void TearDown() override { KSR::setResourceDirFunction({}); }

    // A model whose feature configuration sets the given option text.
    QString model(const QByteArray& config, const QString& relative = "conf/mfcc.conf")
    {
        const QString path = folder.path() + "/model";
        EXPECT_TRUE(writeModelFolder(path, relative, config));
        return path;
    }

    int outputFrequencyFor(const QByteArray& config)
    {
        setModelVariable(model(config));
        CountingInterface iface;
        EXPECT_TRUE(iface.isInitialized());
        return iface.audioDevice()->frequency(true);
    }

    QTemporaryDir folder;
    LogCapture log;
};

}  // namespace

TEST_F(ModelSearch, VariableNamingAFolderWithoutFeatureConfigGivesAnEmptyPath)
{
    ASSERT_TRUE(QDir().mkpath(folder.path() + "/bare/am"));
    setModelVariable(folder.path() + "/bare");
    CountingInterface iface;
    EXPECT_FALSE(iface.isInitialized());
    // The empty path reaches the engine, which refuses it before any model is made.
    EXPECT_EQ(log.errors(), std::vector<std::string>{kNoModel});
    EXPECT_EQ(lastModelPath(), "");
    EXPECT_EQ(iface.engine(), nullptr);
}

TEST_F(ModelSearch, FeatureConfigAtTheModelsTopIsFound)
{
    const QString path = model("--sample-frequency=16000\n", "mfcc.conf");
    setModelVariable(path);
    CountingInterface iface;
    EXPECT_TRUE(iface.isInitialized());
    EXPECT_EQ(lastModelPath(), path.toStdString());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ModelSearch, FeatureConfigInTheConfFolderIsFound)
{
    const QString path = model("--sample-frequency=16000\n", "conf/mfcc.conf");
    setModelVariable(path);
    CountingInterface iface;
    EXPECT_TRUE(iface.isInitialized());
    EXPECT_EQ(lastModelPath(), path.toStdString());
    EXPECT_EQ(modelsCreated(), 1);
}

TEST_F(ModelSearch, FeatureConfigElsewhereIsNotLookedFor)
{
    const QString path = model("--sample-frequency=16000\n", "am/mfcc.conf");
    setModelVariable(path);
    CountingInterface iface;
    EXPECT_FALSE(iface.isInitialized());
    EXPECT_EQ(log.errors(), std::vector<std::string>{kNoModel});
}

TEST_F(ModelSearch, VariableNamingAFileOrNothingGivesAnEmptyPath)
{
    const QString path = model("--sample-frequency=16000\n", "mfcc.conf");
    setModelVariable(path + "/mfcc.conf");
    {
        CountingInterface iface;
        EXPECT_FALSE(iface.isInitialized());
    }
    setModelVariable(folder.path() + "/missing");
    {
        CountingInterface iface;
        EXPECT_FALSE(iface.isInitialized());
    }
    EXPECT_EQ(log.errors(), (std::vector<std::string>{kNoModel, kNoModel}));
    EXPECT_EQ(lastModelPath(), "");
}

TEST_F(ModelSearch, AnEmptyVariableCountsAsSetAndNamesNoModel)
{
    // A model beside the resource directory is not looked at then.
    model("--sample-frequency=16000\n");
    KSR::setResourceDirFunction([this] { return (folder.path() + "/a/b").toStdString(); });
    ::setenv("KALO_ACOUSTIC_MODEL_PATH", "", 1);
    CountingInterface iface;
    EXPECT_FALSE(iface.isInitialized());
    EXPECT_EQ(log.errors(), std::vector<std::string>{kNoModel});
}

TEST_F(ModelSearch, SampleFrequency8000IsStoredAs44100)
{
    EXPECT_EQ(outputFrequencyFor("--use-energy=false\n--sample-frequency=8000\n--num-mel-bins=40\n"), 44100);
}

TEST_F(ModelSearch, SampleFrequency22050Keeps16000)
{
    EXPECT_EQ(outputFrequencyFor("--sample-frequency=22050\n"), 16000);
}

TEST_F(ModelSearch, SampleFrequency16000Gives16000)
{
    EXPECT_EQ(outputFrequencyFor("--sample-frequency=16000\n--num-ceps=40\n"), 16000);
}

TEST_F(ModelSearch, TheFirstDigitsAfterTheEqualsSignAreRead)
{
    EXPECT_EQ(outputFrequencyFor("--sample-frequency = 8000 # narrow band\n"), 44100);
}

TEST_F(ModelSearch, TextBeforeTheDigitsIsSkipped)
{
    // Whatever stands between "=" and the first digit is passed over.
    EXPECT_EQ(outputFrequencyFor("--sample-frequency=hz8000\n"), 44100);
}

TEST_F(ModelSearch, TheWholeRunOfDigitsIsTheValue)
{
    EXPECT_EQ(outputFrequencyFor("--sample-frequency=80000\n"), 16000);
}

TEST_F(ModelSearch, TheOptionNameIsCaseSensitive)
{
    EXPECT_EQ(outputFrequencyFor("--Sample-Frequency=8000\n"), 16000);
}

TEST_F(ModelSearch, AnOptionWithoutEqualsSignOrDigitsKeeps16000)
{
    EXPECT_EQ(outputFrequencyFor("--sample-frequency 8000\n"), 16000);
}

TEST_F(ModelSearch, AnOptionWithoutDigitsKeeps16000)
{
    EXPECT_EQ(outputFrequencyFor("--sample-frequency=\n"), 16000);
}

TEST_F(ModelSearch, AConfigWithoutTheOptionKeeps16000)
{
    EXPECT_EQ(outputFrequencyFor("--num-mel-bins=40\n"), 16000);
}

TEST_F(ModelSearch, TheConfigAtTheTopWinsOverTheConfFolder)
{
    const QString path = model("--sample-frequency=16000\n", "conf/mfcc.conf");
    ASSERT_TRUE(writeModelFolder(path, "mfcc.conf", "--sample-frequency=8000\n"));
    setModelVariable(path);
    CountingInterface iface;
    EXPECT_EQ(iface.audioDevice()->frequency(true), 44100);
}

TEST_F(ModelSearch, TheMicrophoneIsSetUpForTheRecognizer)
{
    setModelVariable(model("--sample-frequency=16000\n"));
    CountingInterface iface;
    AudioDevice* audio = iface.audioDevice();
    ASSERT_NE(audio, nullptr);
    EXPECT_EQ(audio->frequency(true), 16000);
    // The capture side keeps what the output device reported (44100 Hz on
    // OpenAL's null back end).
    EXPECT_EQ(audio->frequency(false), 44100);
    EXPECT_FALSE(audio->isCapturing());
}

TEST_F(ModelSearch, WithoutTheVariableTheFirstFolderBesideTheResourceDirectoryIsTaken)
{
    const QString models = folder.path() + "/kalo_external_libs/acoustic_model";
    ASSERT_TRUE(writeModelFolder(models + "/en-us", "conf/mfcc.conf", "--sample-frequency=16000\n"));
    KSR::setResourceDirFunction([this] { return (folder.path() + "/host/resources").toStdString(); });
    CountingInterface iface;
    EXPECT_TRUE(iface.isInitialized());
    EXPECT_EQ(lastModelPath(), QDir(models + "/en-us").absolutePath().toStdString());
}

TEST_F(ModelSearch, TheResourceDirectoryPathIsCleanedBeforeListing)
{
    const QString models = folder.path() + "/kalo_external_libs/acoustic_model";
    ASSERT_TRUE(writeModelFolder(models + "/model", "mfcc.conf", "--sample-frequency=16000\n"));
    // ".." and a trailing separator in the host's directory are resolved.
    KSR::setResourceDirFunction([this] { return (folder.path() + "/x/../host/resources/").toStdString(); });
    CountingInterface iface;
    EXPECT_TRUE(iface.isInitialized());
    EXPECT_EQ(lastModelPath(), QDir(models + "/model").absolutePath().toStdString());
}

TEST_F(ModelSearch, WithoutAModelFolderBesideTheResourceDirectoryThePathIsEmpty)
{
    const QString models = folder.path() + "/kalo_external_libs/acoustic_model";
    ASSERT_TRUE(QDir().mkpath(models));
    QFile file(models + "/not-a-folder");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    KSR::setResourceDirFunction([this] { return (folder.path() + "/host/resources").toStdString(); });
    CountingInterface iface;
    EXPECT_FALSE(iface.isInitialized());
    EXPECT_EQ(log.errors(), std::vector<std::string>{kNoModel});
}

TEST_F(ModelSearch, TheModelFolderMustHoldTheFeatureConfig)
{
    const QString models = folder.path() + "/kalo_external_libs/acoustic_model";
    ASSERT_TRUE(QDir().mkpath(models + "/empty-model"));
    KSR::setResourceDirFunction([this] { return (folder.path() + "/host/resources").toStdString(); });
    CountingInterface iface;
    EXPECT_FALSE(iface.isInitialized());
    EXPECT_EQ(log.errors(), std::vector<std::string>{kNoModel});
}

TEST_F(ModelSearch, TheVariableWinsOverTheResourceDirectory)
{
    const QString models = folder.path() + "/kalo_external_libs/acoustic_model";
    ASSERT_TRUE(writeModelFolder(models + "/beside", "conf/mfcc.conf", "--sample-frequency=16000\n"));
    KSR::setResourceDirFunction([this] { return (folder.path() + "/host/resources").toStdString(); });
    const QString path = model("--sample-frequency=16000\n");
    setModelVariable(path);
    CountingInterface iface;
    EXPECT_EQ(lastModelPath(), path.toStdString());
}

TEST(ResourceDir, DefaultsToTheApplicationsDirectory)
{
    KSR::setResourceDirFunction({});
    ASSERT_NE(QCoreApplication::instance(), nullptr);
    EXPECT_EQ(KSR::resourceDir(), QCoreApplication::applicationDirPath().toStdString());
    EXPECT_FALSE(KSR::resourceDir().empty());
}

TEST(ResourceDir, AHostFunctionReplacesTheDefaultUntilReset)
{
    int calls = 0;
    KSR::setResourceDirFunction([&calls] {
        ++calls;
        return std::string("/opt/host/resources");
    });
    EXPECT_EQ(KSR::resourceDir(), "/opt/host/resources");
    EXPECT_EQ(calls, 1);
    KSR::setResourceDirFunction({});
    EXPECT_EQ(KSR::resourceDir(), QCoreApplication::applicationDirPath().toStdString());
    EXPECT_EQ(calls, 1);
}

TEST(ResourceDir, TheHostFunctionMayReplaceItselfWhenCalled)
{
    KSR::setResourceDirFunction([] {
        KSR::setResourceDirFunction([] { return std::string("/second"); });
        return std::string("/first");
    });
    EXPECT_EQ(KSR::resourceDir(), "/first");
    EXPECT_EQ(KSR::resourceDir(), "/second");
    KSR::setResourceDirFunction({});
}
