// The overlay's stroke font: capitals, digits and common punctuation on a 4 x 6 grid, drawn with
// DrawLine so that labels look like the handles they annotate.
#include "framework/OverlayQ4.h"

#include <ctype.h>
#include <string.h>

namespace {

// Each glyph is a list of polylines on the grid (x 0..4, y 0..6 upward from the baseline): every
// two digits are one point, a blank lifts the pen.
struct Glyph {
    char c;
    const char* strokes;
};

const Glyph kGlyphs[] = {
    {'0', "0040460600 0046"},
    {'1', "152620 1030"},
    {'2', "05163645440040"},
    {'3', "064623334241301001"},
    {'4', "30360242"},
    {'5', "4606033342413000"},
    {'6', "36160501103041423303"},
    {'7', "064610"},
    {'8', "13040516364544331302011030414233"},
    {'9', "43130405163645413010"},
    {'A', "0004264440 0343"},
    {'B', "00063645443303 3342413000"},
    {'C', "4536160501103041"},
    {'D', "00063645413000"},
    {'E', "46060040 0333"},
    {'F', "460600 0333"},
    {'G', "45361605011030414323"},
    {'H', "0006 4640 0343"},
    {'I', "1636 2620 1030"},
    {'J', "4641301001"},
    {'K', "0006 4602 1340"},
    {'L', "060040"},
    {'M', "0006244640"},
    {'N', "00064046"},
    {'O', "100105163645413010"},
    {'P', "00063645443303"},
    {'Q', "100105163645413010 2240"},
    {'R', "00063645443303 2340"},
    {'S', "453616050413334241301001"},
    {'T', "0646 2620"},
    {'U', "060110304146"},
    {'V', "062046"},
    {'W', "0610233046"},
    {'X', "0046 0640"},
    {'Y', "062346 2320"},
    {'Z', "06460040"},
    {'.', "1020211110"},
    {',', "212010"},
    {':', "2122 2425"},
    {';', "2425 222110"},
    {'-', "0333"},
    {'+', "1333 2224"},
    {'/', "0046"},
    {'\\', "0640"},
    {'%', "0046 0516 3041"},
    {'(', "36252130"},
    {')', "16252110"},
    {'[', "36262030"},
    {']', "16262010"},
    {'<', "351331"},
    {'>', "153311"},
    {'=', "0242 0444"},
    {'_', "0040"},
    {'!', "2622 2021"},
    {'?', "05163645442322 2021"},
    {'\'', "2625"},
    {'"', "1615 3635"},
    {'*', "2224 1335 1533"},
    {'#', "1016 3036 0242 0444"},
};

const char* GlyphStrokes(char c) {
    const char upper = (char)toupper((unsigned char)c);
    for (const Glyph& g : kGlyphs)
        if (g.c == upper) return g.strokes;
    return "";   // blanks and characters without a glyph only advance
}

const float kGridWidth = 4.0f;
const float kGridHeight = 6.0f;
const float kGridAdvance = 6.0f;   // glyph width plus a gap of two grid units

}  // namespace

// size: cap height in screen pixels (12 when not positive); spacing: extra screen pixels
// between characters; align: 0 left, 1 centred, 2 right of x. y is the baseline; picture rows
// grow downwards, so the glyphs rise towards smaller y.
void OverlayQ4::DrawText(float x, float y, const char* text, float size, float spacing,
                         int align) {
    if (!text) return;
    const float cap = size > 0.0f ? size : 12.0f;
    const float unit = cap / kGridHeight / overlay_zoom;
    const float advance = kGridAdvance * unit + spacing / overlay_zoom;
    const size_t count = strlen(text);
    if (count == 0) return;
    const float total = advance * (float)(count - 1) + kGridWidth * unit;
    float left = x;
    if (align == 1)
        left = x - total / 2.0f;
    else if (align == 2)
        left = x - total;

    for (size_t i = 0; i < count; ++i) {
        const float ox = left + advance * (float)i;
        const char* s = GlyphStrokes(text[i]);
        bool pen = false;
        float px = 0.0f, py = 0.0f;
        while (*s) {
            if (*s == ' ') {
                pen = false;
                ++s;
                continue;
            }
            const float gx = (float)(s[0] - '0');
            const float gy = (float)(s[1] - '0');
            s += 2;
            const float qx = ox + gx * unit;
            const float qy = y - gy * unit;
            if (pen) DrawLine(px, py, qx, qy);
            px = qx;
            py = qy;
            pen = true;
        }
    }
}
