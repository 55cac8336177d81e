#pragma once

#include <QtGlobal>

#include <cstddef>
#include <functional>
#include <vector>

namespace tarn::console {

/// Which document blocks hold a shaped layout, in the order of their last use. Shaped text takes
/// some hundred bytes a character, so only what was used last may stay, counted in characters.
class ShapedBlockCache
{
public:
    struct Limits
    {
        /// More characters than that stay only while they are in few blocks.
        qint64 characters = 0;
        /// As many blocks as a screen can show: what is in sight must not be shaped for each
        /// painting, and lines of joiners, say, are long without being wide.
        std::size_t fewBlocks = 0;
        /// Never more than that, except in the two blocks used last: a caret moves from one to the
        /// other.
        qint64 charactersOfFewBlocks = 0;
    };

    explicit ShapedBlockCache(Limits limits);

    /// Notes a use, and gives the blocks that are to be released to a function.
    void use(int block, int characters, const std::function<void(int block)> &release);

    /// Blocks from first on were replaced: `removed` old ones by `inserted` new ones. The new ones
    /// are not shaped, the following keep their layout and change their number.
    void replace(int first, int removed, int inserted);

    /// Forgets all, after giving each to a function.
    void clear(const std::function<void(int block)> &release);

private:
    struct Entry
    {
        int block;
        int characters;
    };

    bool exceedLimits(std::size_t blocks) const;

    Limits m_limits;
    qint64 m_characters = 0;
    std::vector<Entry> m_entries; ///< the one used last comes last
};

} // namespace tarn::console
