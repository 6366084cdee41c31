#include "sparkhost/lib/Names.h"

#include <algorithm>
#include <cctype>

namespace sparkhost {

std::string trimRight(const std::string& s) {
    size_t end = s.size();
    while (end > 0 && std::isspace(static_cast<unsigned char>(s[end - 1]))) --end;
    return s.substr(0, end);
}

std::string trim(const std::string& s) {
    size_t begin = 0;
    while (begin < s.size() && std::isspace(static_cast<unsigned char>(s[begin]))) ++begin;
    return trimRight(s.substr(begin));
}

std::string normaliseName(const std::string& name) {
    std::string out;
    bool blank = false;
    for (char c : trim(name)) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            blank = true;
            continue;
        }
        if (blank && !out.empty()) out += ' ';
        blank = false;
        out += char(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

bool sameName(const std::string& name, const std::string& normalised) {
    size_t at = 0;
    bool blank = false;
    for (char c : name) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            blank = true;
            continue;
        }
        if (blank && at > 0 && (at >= normalised.size() || normalised[at++] != ' ')) return false;
        blank = false;
        const char lower = char(std::tolower(static_cast<unsigned char>(c)));
        if (at >= normalised.size() || normalised[at++] != lower) return false;
    }
    return at == normalised.size();
}

int editDistance(const std::string& a, const std::string& b) {
    std::vector<int> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = int(j);
    for (size_t i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = int(i);
        for (size_t j = 1; j <= b.size(); ++j) {
            int above = row[j];
            int substitution = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({above + 1, row[j - 1] + 1, substitution});
            diagonal = above;
        }
    }
    return row[b.size()];
}

std::vector<std::string> closestNames(const std::string& name,
                                      const std::vector<std::string>& candidates, size_t count) {
    std::string wanted = normaliseName(name);
    std::vector<std::pair<int, size_t>> ranked;
    for (size_t i = 0; i < candidates.size(); ++i) {
        if (candidates[i].empty()) continue;
        ranked.emplace_back(editDistance(wanted, normaliseName(candidates[i])), i);
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& x, const auto& y) { return x.first < y.first; });
    std::vector<std::string> out;
    for (const auto& r : ranked) {
        const std::string& c = candidates[r.second];
        if (std::find(out.begin(), out.end(), c) != out.end()) continue;
        out.push_back(c);
        if (out.size() >= count) break;
    }
    return out;
}

std::string printable(const std::string& s) {
    std::string out;
    auto escape = [&out](unsigned char c) {
        static const char hex[] = "0123456789abcdef";
        out += "\\x";
        out += hex[c >> 4];
        out += hex[c & 15];
    };
    for (size_t i = 0; i < s.size();) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (c >= 0x20 && c < 0x7f) {
            out += char(c);
            ++i;
            continue;
        }
        // A well-formed UTF-8 sequence of two to four bytes stays as it is.
        size_t length = c >= 0xc2 && c <= 0xdf ? 2 : c >= 0xe0 && c <= 0xef ? 3 : c >= 0xf0 && c <= 0xf4 ? 4 : 0;
        bool whole = length > 0 && i + length <= s.size();
        for (size_t k = 1; whole && k < length; ++k) whole = (static_cast<unsigned char>(s[i + k]) & 0xc0) == 0x80;
        if (whole) {
            out.append(s, i, length);
            i += length;
        } else {
            escape(c);
            ++i;
        }
    }
    return out;
}

}  // namespace sparkhost
