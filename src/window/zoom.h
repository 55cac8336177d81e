#pragma once

#include <algorithm>
#include <cmath>

namespace tarn::console {

/// How much larger or smaller than its preference the interface's font is, in per cent.
class Zoom
{
public:
    static constexpr int minimum = 50;
    static constexpr int normal = 100;
    static constexpr int maximum = 200;
    static constexpr int step = 10;

    bool operator==(const Zoom &) const = default;

    int percent() const { return m_percent; }

    void changeBy(int delta) { m_percent = std::clamp(m_percent + delta, minimum, maximum); }
    void reset() { m_percent = normal; }

    bool canGrow() const { return m_percent < maximum; }
    bool canShrink() const { return m_percent > minimum; }
    bool isNormal() const { return m_percent == normal; }

    /// Rounded to the nearest point, halves upwards, and never below the smallest size.
    int pointSize(int preferred, int smallest) const
    {
        return std::max(static_cast<int>(std::lround(double(preferred) * m_percent / 100)),
                        smallest);
    }

private:
    int m_percent = normal;
};

} // namespace tarn::console
