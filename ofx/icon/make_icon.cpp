// Writes the bundle's icon: a 128 x 128 RGBA PNG of a small swarm of five-point stars chasing a
// green food point over a dark ground. PNG by hand (stored deflate blocks), so the build needs
// no image library for it.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

const int kSize = 128;

uint32_t crc_table[256];

void make_crc_table() {
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        crc_table[n] = c;
    }
}

uint32_t crc(const std::vector<uint8_t>& bytes, size_t from) {
    uint32_t c = 0xFFFFFFFFu;
    for (size_t i = from; i < bytes.size(); ++i) c = crc_table[(c ^ bytes[i]) & 0xFF] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

void put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back((uint8_t)(v >> s));
}

void chunk(std::vector<uint8_t>& file, const char* type, const std::vector<uint8_t>& data) {
    put32(file, (uint32_t)data.size());
    const size_t start = file.size();
    for (int i = 0; i < 4; ++i) file.push_back((uint8_t)type[i]);
    file.insert(file.end(), data.begin(), data.end());
    put32(file, crc(file, start));
}

// A zlib stream of stored blocks.
std::vector<uint8_t> zlib_stored(const std::vector<uint8_t>& raw) {
    std::vector<uint8_t> z = {0x78, 0x01};
    size_t at = 0;
    do {
        const size_t n = raw.size() - at < 65535 ? raw.size() - at : 65535;
        z.push_back(at + n == raw.size() ? 1 : 0);
        z.push_back((uint8_t)(n & 0xFF));
        z.push_back((uint8_t)(n >> 8));
        z.push_back((uint8_t)(~n & 0xFF));
        z.push_back((uint8_t)((~n >> 8) & 0xFF));
        z.insert(z.end(), raw.begin() + (long)at, raw.begin() + (long)(at + n));
        at += n;
    } while (at < raw.size());
    uint32_t a = 1, b = 0;
    for (uint8_t v : raw) a = (a + v) % 65521, b = (b + a) % 65521;
    put32(z, (b << 16) | a);
    return z;
}

// Coverage of a five-point star of radius r centred at (cx, cy), turned by `turn`, at (x, y).
bool in_star(double x, double y, double cx, double cy, double r, double turn) {
    const double dx = x - cx, dy = y - cy;
    const double d = std::sqrt(dx * dx + dy * dy);
    if (d > r) return false;
    const double a = std::atan2(dy, dx) - turn;
    const double sector = 2.0 * M_PI / 5.0;
    double f = std::fmod(a, sector);
    if (f < 0) f += sector;
    const double t = std::fabs(f - sector / 2.0) / (sector / 2.0);  // 0 between points, 1 at a point
    return d <= r * (0.45 + 0.55 * t);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_icon OUTPUT.png\n");
        return 2;
    }
    make_crc_table();
    std::vector<uint8_t> raw;
    raw.reserve((size_t)kSize * (kSize * 4 + 1));
    for (int y = 0; y < kSize; ++y) {
        raw.push_back(0);  // no filter
        for (int x = 0; x < kSize; ++x) {
            uint8_t r = 18, g = 22, b = 40, a = 255;
            const double fx = (x + 0.5) / kSize, fy = (y + 0.5) / kSize;
            if (std::hypot(fx - 0.2, fy - 0.2) < 0.06) r = 40, g = 220, b = 80;
            for (int i = 0; i < 9; ++i) {
                const double t = i / 9.0;
                const double cx = 0.35 + 0.5 * t + 0.05 * std::sin(7.0 * t);
                const double cy = 0.3 + 0.45 * t + 0.08 * std::cos(5.0 * t);
                if (in_star(fx, fy, cx, cy, 0.07 - 0.03 * t, 0.6 * i)) r = 255, g = (uint8_t)(200 + 50 * t), b = 120;
            }
            raw.push_back(r), raw.push_back(g), raw.push_back(b), raw.push_back(a);
        }
    }
    std::vector<uint8_t> file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    put32(header, kSize);
    put32(header, kSize);
    header.insert(header.end(), {8, 6, 0, 0, 0});  // 8 bits, RGBA, deflate, no filter, no interlace
    chunk(file, "IHDR", header);
    chunk(file, "IDAT", zlib_stored(raw));
    chunk(file, "IEND", {});
    FILE* out = std::fopen(argv[1], "wb");
    if (!out) {
        std::fprintf(stderr, "make_icon: cannot write %s\n", argv[1]);
        return 1;
    }
    const bool ok = std::fwrite(file.data(), 1, file.size(), out) == file.size();
    return std::fclose(out) == 0 && ok ? 0 : 1;
}
