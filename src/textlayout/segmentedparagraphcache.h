#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace tarn::console {

class SegmentedParagraph;

/// The paragraphs shaped in segments, by the number of their block: what was used last, enough for
/// a screen of long paragraphs and the two that the streams extend.
class SegmentedParagraphCache
{
public:
    SegmentedParagraphCache();
    ~SegmentedParagraphCache();

    /// The paragraph of a block, a new one where there was none; used last from now on.
    SegmentedParagraph &of(int block);

    /// Whether there is one already, and it could be segmented.
    bool has(int block) const;

    /// `removed` blocks from first on became `inserted` ones. What is known of the first may still
    /// hold: its text may have become longer.
    void replace(int first, int removed, int inserted);
    void clear();

private:
    void dropOldest();

    std::vector<std::pair<int, std::unique_ptr<SegmentedParagraph>>> m_paragraphs; ///< newest last
};

} // namespace tarn::console
