// The depth of an iterator: a 16-bit field that tools see, and a carry for trees that are deeper than it can
// count.
#ifndef KALTO_XML_DEPTH_H
#define KALTO_XML_DEPTH_H

#include <climits>
#include <kalto/xml.h>

namespace kalto {

inline int depth_of(const CVurlIterator& it) {
    return it.m_nDepth + it.m_nDepthHigh * 0x10000;
}

inline void set_depth(CVurlIterator* it, int depth) {
    it->m_nDepth = static_cast<short>(depth);
    it->m_nDepthHigh = static_cast<signed char>((depth - it->m_nDepth) / 0x10000);
}

// step is 1 or -1.
inline void change_depth(CVurlIterator* it, int step) {
    if (it->m_nDepth != (step > 0 ? SHRT_MAX : SHRT_MIN)) {
        it->m_nDepth = static_cast<short>(it->m_nDepth + step);
        return;
    }
    it->m_nDepth = step > 0 ? SHRT_MIN : SHRT_MAX;
    it->m_nDepthHigh = static_cast<signed char>(it->m_nDepthHigh + step);
}

} // namespace kalto

#endif
