#include "textlayout/shapedblockcache.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tarn::console {

ShapedBlockCache::ShapedBlockCache(Limits limits)
    : m_limits(limits)
{
}

void ShapedBlockCache::use(int block, int characters, const std::function<void(int block)> &release)
{
    const auto found = std::find_if(m_entries.rbegin(), m_entries.rend(),
                                    [block](const Entry &entry) { return entry.block == block; });
    if (found != m_entries.rend()) {
        m_characters -= found->characters;
        m_entries.erase(std::next(found).base());
    }
    m_entries.push_back({block, characters});
    m_characters += characters;

    std::size_t released = 0;
    while (exceedLimits(m_entries.size() - released)) {
        const Entry &oldest = m_entries[released++];
        m_characters -= oldest.characters;
        release(oldest.block);
    }
    m_entries.erase(m_entries.begin(), m_entries.begin() + static_cast<std::ptrdiff_t>(released));
}

bool ShapedBlockCache::exceedLimits(std::size_t blocks) const
{
    if (blocks <= 2)
        return false;
    return m_characters
           > (blocks > m_limits.fewBlocks ? m_limits.characters : m_limits.charactersOfFewBlocks);
}

void ShapedBlockCache::replace(int first, int removed, int inserted)
{
    std::erase_if(m_entries, [&](const Entry &entry) {
        const bool gone = entry.block >= first && entry.block < first + removed;
        if (gone)
            m_characters -= entry.characters;
        return gone;
    });
    for (Entry &entry : m_entries) {
        if (entry.block >= first + removed)
            entry.block += inserted - removed;
    }
}

void ShapedBlockCache::clear(const std::function<void(int block)> &release)
{
    const std::vector<Entry> entries = std::exchange(m_entries, {});
    m_characters = 0;
    for (const Entry &entry : entries)
        release(entry.block);
}

} // namespace tarn::console
