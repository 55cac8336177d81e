#pragma once

#include <QString>

#include <cstdio>
#include <cstdlib>

namespace tarn::console {

/// Makes the fuzzer keep the input that showed a problem.
inline void stopAt(const QString &problem)
{
    if (problem.isEmpty())
        return;
    std::fprintf(stderr, "%s\n", qPrintable(problem));
    std::abort();
}

/// Prints at the end how many bytes were tried.
class ByteCount
{
public:
    ~ByteCount() { std::fprintf(stderr, "stat::input_bytes: %llu\n", m_count); }
    void add(size_t size) { m_count += size; }

private:
    unsigned long long m_count = 0;
};

} // namespace tarn::console
