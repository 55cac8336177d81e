#include "support/testregistry.h"

#include <cstdio>
#include <string>

namespace tarn::console::testing {
namespace {

const RegisteredTest *newest = nullptr;

/// The name of a file without its folder and its suffix.
std::string stem(const std::string &path)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.find('.'));
}

const RegisteredTest *testNamed(const std::string &name)
{
    const RegisteredTest *test = newest;
    while (test != nullptr && stem(test->source) != name) {
        test = test->next;
    }
    return test;
}

int explain(const char *program)
{
    std::fprintf(stderr,
                 "Usage: %s TEST [ARGUMENT...], or the link beside it that is named\n"
                 "after the test, with the arguments alone. The tests:\n",
                 program);
    for (const RegisteredTest *test = newest; test != nullptr; test = test->next) {
        std::fprintf(stderr, "  %s\n", stem(test->source).c_str());
    }
    return 2;
}

} // namespace

RegisteredTest::RegisteredTest(const char *source, Main main)
    : source(source)
    , main(main)
    , next(newest)
{
    newest = this;
}

} // namespace tarn::console::testing

int main(int argc, char **argv)
{
    using namespace tarn::console::testing;
    if (const RegisteredTest *test = testNamed(stem(argv[0]))) {
        return test->main(argc, argv);
    }
    if (const RegisteredTest *test = argc > 1 ? testNamed(argv[1]) : nullptr) {
        return test->main(argc - 1, argv + 1);
    }
    return explain(argv[0]);
}
