#include <map>
#include <stdexcept>

#include "zubvc_tools/vlc.h"

namespace zubtools {

namespace {

constexpr Zub32s kLinkMarker = 0x80;

class Builder {
public:
    explicit Builder(const std::vector<int>& levelBits) : levelBits_(levelBits) {}

    // Appends the sub-table for `codes` (their bits below the levels already
    // looked up) and returns the index of its entry 0.
    size_t build(const std::vector<VlcCode>& codes, size_t depth) {
        int width = levelBits_[depth < levelBits_.size() ? depth : levelBits_.size() - 1];
        if (depth > 0) {
            int longest = 0;
            for (const VlcCode& c : codes) longest = c.length > longest ? c.length : longest;
            width = width < longest ? width : longest;
        }
        const size_t base = out_.size();
        const size_t count = size_t{1} << width;
        if (base + count >= (size_t{1} << 24)) throw std::invalid_argument("VLC table too large");
        out_.push_back(width);
        out_.resize(base + 1 + count, kVlcInvalidEntry);
        std::vector<bool> used(count, false);

        std::map<uint32_t, std::vector<VlcCode>> longer;
        for (const VlcCode& c : codes) {
            if (c.length <= width) {
                const int g = width - c.length;
                const size_t first = size_t{c.code} << g;
                for (size_t k = 0; k < (size_t{1} << g); ++k) {
                    if (used[first + k]) throw std::invalid_argument("VLC codes are not prefix-free");
                    used[first + k] = true;
                    out_[base + 1 + first + k] = static_cast<Zub32s>((c.fields << 8) | static_cast<uint32_t>(g));
                }
            } else {
                const int rest = c.length - width;
                const uint32_t restMask = rest >= 32 ? 0xFFFFFFFFu : (1u << rest) - 1u;
                longer[c.code >> rest].push_back(VlcCode{c.code & restMask, rest, c.fields});
            }
        }
        for (const auto& [prefix, sub] : longer) {
            if (used[prefix]) throw std::invalid_argument("VLC codes are not prefix-free");
            used[prefix] = true;
            const size_t child = build(sub, depth + 1);
            out_[base + 1 + prefix] = static_cast<Zub32s>((child << 8) | kLinkMarker);
        }
        return base;
    }

    std::vector<Zub32s> take() { return std::move(out_); }

private:
    const std::vector<int>& levelBits_;
    std::vector<Zub32s> out_;
};

}  // namespace

VlcCode vlcCodeFromString(std::string_view bits, uint32_t fields) {
    VlcCode c{0, 0, fields};
    for (char ch : bits) {
        if (ch == ' ') continue;
        if ((ch != '0' && ch != '1') || c.length == 32) throw std::invalid_argument("bad VLC code string");
        c.code = (c.code << 1) | static_cast<uint32_t>(ch - '0');
        ++c.length;
    }
    return c;
}

std::vector<Zub32s> buildVlcTable(const std::vector<VlcCode>& codes, const std::vector<int>& levelBits) {
    if (levelBits.empty()) throw std::invalid_argument("no VLC table levels");
    for (int w : levelBits)
        if (w < 1 || w > 16) throw std::invalid_argument("VLC table level width outside 1..16");
    for (const VlcCode& c : codes) {
        if (c.length < 1 || c.length > 32) throw std::invalid_argument("VLC code length outside 1..32");
        if (c.length < 32 && (c.code >> c.length) != 0) throw std::invalid_argument("VLC code wider than its length");
        if (c.fields >= (1u << 24) || c.fields == kVlcInvalidFields)
            throw std::invalid_argument("VLC value does not fit the table fields");
    }
    Builder b(levelBits);
    b.build(codes, 0);
    return b.take();
}

}  // namespace zubtools
