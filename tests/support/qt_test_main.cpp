// GoogleTest entry point for tests that need a Qt application object
// (widgets, event loops, queued signals). Runs headless under
// QT_QPA_PLATFORM=offscreen.
#include <gtest/gtest.h>

#include <QApplication>

#include <vector>

#include "test_arguments.h"

namespace {

std::vector<std::string>& leftOver()
{
    static std::vector<std::string> arguments;
    return arguments;
}

}  // namespace

void TestArguments::set(int argc, char** argv)
{
    leftOver().assign(argv + 1, argv + argc);
}

std::string TestArguments::value(const std::string& name, const std::string& fallback)
{
    const std::string prefix = "--" + name + "=";
    for (const std::string& argument : leftOver())
        if (argument.compare(0, prefix.size(), prefix) == 0)
            return argument.substr(prefix.size());
    return fallback;
}

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? QByteArray("offscreen")
                                                                    : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    TestArguments::set(argc, argv);
    return RUN_ALL_TESTS();
}
