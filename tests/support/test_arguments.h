#ifndef KSR_TESTS_TEST_ARGUMENTS_H
#define KSR_TESTS_TEST_ARGUMENTS_H

// The arguments a Qt test program was given beyond those of GoogleTest and
// Qt, so that one program can run its tests under several settings (ctest
// discovers it once per setting, each with its own arguments).
#include <string>

namespace TestArguments {

// Records what main() left over; called once, before the tests run.
void set(int argc, char** argv);

// The value of "--name=value", or `fallback` when it was not given.
std::string value(const std::string& name, const std::string& fallback = std::string());

}  // namespace TestArguments

#endif
