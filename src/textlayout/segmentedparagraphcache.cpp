#include "textlayout/segmentedparagraphcache.h"

#include "textlayout/segmentedparagraph.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace tarn::console {

namespace {

/// More than a screen of long paragraphs has, unless they are very long; then a few.
constexpr qsizetype maximumCharacters = 1024 * 1024;
constexpr std::size_t fewParagraphs = 4;

} // namespace

SegmentedParagraphCache::SegmentedParagraphCache() = default;
SegmentedParagraphCache::~SegmentedParagraphCache() = default;

SegmentedParagraph &SegmentedParagraphCache::of(int block)
{
    auto found = std::find_if(m_paragraphs.begin(), m_paragraphs.end(),
                              [block](const auto &entry) { return entry.first == block; });
    if (found == m_paragraphs.end()) {
        dropOldest();
        m_paragraphs.emplace_back(block, std::make_unique<SegmentedParagraph>());
    } else {
        std::rotate(found, std::next(found), m_paragraphs.end());
    }
    return *m_paragraphs.back().second;
}

bool SegmentedParagraphCache::has(int block) const
{
    return std::any_of(m_paragraphs.begin(), m_paragraphs.end(), [block](const auto &entry) {
        return entry.first == block && entry.second->hasSegments();
    });
}

/// Before one more is added.
void SegmentedParagraphCache::dropOldest()
{
    qsizetype characters = 0;
    std::size_t kept = 0;
    for (auto entry = m_paragraphs.rbegin(); entry != m_paragraphs.rend(); ++entry, ++kept) {
        characters += entry->second->length();
        if (characters > maximumCharacters && kept + 1 >= fewParagraphs)
            break;
    }
    m_paragraphs.erase(m_paragraphs.begin(), std::prev(m_paragraphs.end(), std::ptrdiff_t(kept)));
}

void SegmentedParagraphCache::replace(int first, int removed, int inserted)
{
    std::erase_if(m_paragraphs, [=](const auto &entry) {
        return entry.first > first && entry.first < first + removed;
    });
    for (auto &entry : m_paragraphs) {
        if (entry.first >= first + removed)
            entry.first += inserted - removed;
    }
}

void SegmentedParagraphCache::clear()
{
    m_paragraphs.clear();
}

} // namespace tarn::console
