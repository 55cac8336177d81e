#pragma once

#include <QtGlobal>

#include <functional>
#include <vector>

namespace tarn::console {

/// Which document blocks hold a shaped layout, in the order of their last use. Shaped text takes
/// some hundred bytes a character, so only what was used last may stay, counted in characters.
class ShapedBlocks
{
public:
    /// At least the two blocks used last stay, however long they are: a caret moves from one to
    /// the other.
    explicit ShapedBlocks(qint64 maximumCharacters);

    bool contains(int block) const;

    /// Notes a use, and gives the blocks that are to be released to a function.
    void use(int block, int characters, const std::function<void(int block)> &release);

    /// Blocks from first on were replaced: `removed` old ones by `inserted` new ones. The new ones
    /// are not shaped, the following keep their layout and change their number.
    void replace(int first, int removed, int inserted);

    /// Forgets all, after giving each to a function.
    void clear(const std::function<void(int block)> &release);

    qint64 characters() const { return m_characters; }

private:
    struct Entry
    {
        int block;
        int characters;
    };

    qint64 m_maximumCharacters;
    qint64 m_characters = 0;
    std::vector<Entry> m_entries; ///< the one used last comes last
};

} // namespace tarn::console
