#pragma once

// Included by every source into which faults are planted (plant.py). One of them at most is chosen
// when the program starts, by TARN_MUTANT=number. With TARN_MUTANTS_REACHED=folder the numbers that
// are passed are noted instead, a file of bytes for each test function, also by child processes.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace mutants {

constexpr int most = 20000;

struct State
{
    int chosen = 0;
    const char *folder = nullptr;
    const char *(*functionName)() = nullptr;
    const char *function = nullptr;
    unsigned char *reached = nullptr;
};

inline State state;

inline const char *currentFunction()
{
    if (!state.functionName)
        return nullptr;
    return state.functionName();
}

inline void openNotes()
{
    const char *function = state.function ? state.function : "-";
    const std::string path = std::string(state.folder) + '/' + function;
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0)
        return;
    if (::ftruncate(file, most) == 0) {
        void *notes = ::mmap(nullptr, most, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        state.reached = notes == MAP_FAILED ? nullptr : static_cast<unsigned char *>(notes);
    }
    ::close(file);
}

inline void note(int number)
{
    const char *function = currentFunction();
    if (function != state.function || !state.reached) {
        state.function = function;
        openNotes();
    }
    if (state.reached)
        state.reached[number] = 1;
}

struct Choice
{
    Choice()
    {
        const char *number = std::getenv("TARN_MUTANT");
        state.chosen = number ? std::atoi(number) : 0;
        using Name = const char *(*)();
        state.functionName =
            reinterpret_cast<Name>(::dlsym(RTLD_DEFAULT, "_ZN5QTest19currentTestFunctionEv"));
        state.folder = std::getenv("TARN_MUTANTS_REACHED");
    }
};

inline const Choice choice;

inline bool isOn(int number)
{
    if (state.folder)
        note(number);
    return number == state.chosen;
}

/// Whether a fault is the chosen one; never when the compiler asks.
constexpr bool on(int number)
{
    return std::is_constant_evaluated() ? false : isOn(number);
}

template<typename Value>
constexpr Value shifted(int number, Value value)
{
    return on(number) ? static_cast<Value>(value + 1) : value;
}

template<typename Left, typename Right>
constexpr auto plus(int number, Left left, Right right)
{
    return on(number) ? left - right : left + right;
}

template<typename Left, typename Right>
constexpr auto minus(int number, Left left, Right right)
{
    return on(number) ? left + right : left - right;
}

template<typename Left, typename Right>
constexpr auto times(int number, Left left, Right right)
{
    return on(number) ? left + right : left * right;
}

template<typename Left, typename Right>
constexpr bool less(int number, const Left &left, const Right &right)
{
    return on(number) ? left <= right : left < right;
}

template<typename Left, typename Right>
constexpr bool lessOrEqual(int number, const Left &left, const Right &right)
{
    return on(number) ? left < right : left <= right;
}

template<typename Left, typename Right>
constexpr bool greater(int number, const Left &left, const Right &right)
{
    return on(number) ? left >= right : left > right;
}

template<typename Left, typename Right>
constexpr bool greaterOrEqual(int number, const Left &left, const Right &right)
{
    return on(number) ? left > right : left >= right;
}

template<typename Value>
constexpr Value least(int number, const std::type_identity_t<Value> &left,
                      const std::type_identity_t<Value> &right)
{
    return on(number) ? std::max<Value>(left, right) : std::min<Value>(left, right);
}

template<typename Value>
constexpr Value least(int number, const Value &left, const Value &right)
{
    return on(number) ? std::max(left, right) : std::min(left, right);
}

template<typename Value>
constexpr Value greatest(int number, const std::type_identity_t<Value> &left,
                         const std::type_identity_t<Value> &right)
{
    return on(number) ? std::min<Value>(left, right) : std::max<Value>(left, right);
}

template<typename Value>
constexpr Value greatest(int number, const Value &left, const Value &right)
{
    return on(number) ? std::min(left, right) : std::max(left, right);
}

} // namespace mutants
