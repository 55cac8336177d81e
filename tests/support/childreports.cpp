#include "childreports.h"

#include "childio.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace tarn::console::child {

namespace {

int argumentCount = 0;
char **argumentValues = nullptr;

constexpr int highestReportedDescriptor = 1023;

} // namespace

void setArguments(int count, char **values)
{
    argumentCount = count;
    argumentValues = values;
}

void showArguments()
{
    reportLine(std::string("program:") + argumentValues[0]);
    for (int i = 1; i < argumentCount; ++i)
        reportLine(std::string("argument:") + argumentValues[i]);
}

void showDirectory()
{
    reportLine("directory:" + std::filesystem::current_path().string());
}

void showEnvironment(std::string_view name)
{
    if (!name.empty()) {
        const char *value = std::getenv(std::string(name).c_str());
        reportLine(std::string(name) + (value ? "=" + std::string(value) : " is not set"));
        return;
    }
    for (char **variable = ::environ; *variable; ++variable)
        reportLine(std::string("environment:") + *variable);
}

void showIds()
{
    reportLine("pid:" + std::to_string(::getpid()));
    reportLine("parent:" + std::to_string(::getppid()));
    reportLine("group:" + std::to_string(::getpgrp()));
    reportLine("session:" + std::to_string(::getsid(0)));
}

void showDescriptors()
{
    // Asking for each number opens none of its own, unlike a listing of /proc/self/fd.
    for (int descriptor = 0; descriptor <= highestReportedDescriptor; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0)
            reportLine("descriptor:" + std::to_string(descriptor));
    }
}

void showSignals()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        for (const std::string_view field : {"SigBlk:", "SigIgn:", "SigCgt:"}) {
            if (line.starts_with(field)) {
                line.erase(std::remove(line.begin(), line.end(), '\t'), line.end());
                reportLine(line);
            }
        }
    }
}

void showParentDeathSignal()
{
    int number = 0;
    ::prctl(PR_GET_PDEATHSIG, &number);
    reportLine("parent-death-signal:" + std::to_string(number));
}

} // namespace tarn::console::child
