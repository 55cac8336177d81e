#pragma once

namespace tarn::console::testing {

/// A test program holds several test classes and runs one of them: the one whose source has the
/// name that the program was started with, or else the name that its first argument says.
struct RegisteredTest
{
    using Main = int (*)(int argc, char **argv);

    /// Adds a test class to the program. To be used by TARN_TEST only.
    RegisteredTest(const char *source, Main main);

    const char *source;
    Main main;
    const RegisteredTest *next;
};

} // namespace tarn::console::testing

/// Ends the source of a test class. The argument is one of Qt's macros, which says what kind of
/// application the class needs: TARN_TEST(QTEST_GUILESS_MAIN(TestTranscript)).
#define TARN_TEST(...)                                                                             \
    namespace {                                                                                    \
    namespace registration {                                                                       \
    __VA_ARGS__                                                                                    \
    const tarn::console::testing::RegisteredTest registered(__FILE__, main);                       \
    }                                                                                              \
    }
