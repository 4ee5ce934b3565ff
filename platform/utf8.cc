#include "platform/utf8.h"

#include "platform/cp1252.h"

namespace qx::platform {
namespace {

bool globMatch(const std::u32string& s, const std::u32string& p) {
    // Iterative glob with single-star backtracking: linear in practice, never exponential.
    std::size_t si = 0, pi = 0, starP = std::u32string::npos, starS = 0;
    while (si < s.size()) {
        if (pi < p.size() && (p[pi] == U'?' || p[pi] == s[si])) {
            ++si, ++pi;
        } else if (pi < p.size() && p[pi] == U'*') {
            starP = pi++;
            starS = si;
        } else if (starP != std::u32string::npos) {
            pi = starP + 1;
            si = ++starS;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == U'*') ++pi;
    return pi == p.size();
}

}  // namespace

std::u32string foldForCompare(std::string_view text) {
    std::u32string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        // A malformed byte stays distinct from every character.
        out.push_back(upperCp1252Letter(base::decodeUtf8OrByte(text, i)));
    }
    return out;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return foldForCompare(a) == foldForCompare(b);
}

bool matchesWildcard(std::string_view name, std::string_view pattern) {
    if (pattern == "*" || pattern == "*.*") return true;
    const std::u32string s = foldForCompare(name);
    std::u32string p = foldForCompare(pattern);
    if (!p.empty() && p.back() == U'.') {
        if (s.find(U'.') != std::u32string::npos) return false;
        p.pop_back();
    }
    return globMatch(s, p);
}

}  // namespace qx::platform
