// Records of the polygon rasteriser. The rasteriser itself (concave_d and its helpers) is a set
// of members of Vesk, since every rendering thread draws through its own scan slot held in the
// effect object and blends into its own layer of the particle set.
//
// A polygon is scan-converted at eight times the output resolution in each axis into a 0/1
// coverage mask, which is then reduced by 8x8 box filtering to one coverage value per pixel.
#ifndef EFFECT_RASTER_H
#define EFFECT_RASTER_H

// A point or vertex. The swarm and the renderer use x and y; z is carried along untouched.
struct tagPOS {
    float x, y, z;
};

// One active edge of the scan conversion.
struct EDGE {
    double x;   // x of the edge at the current scan line's sample height
    double dx;  // change of x per scan line
    int i;      // the edge runs from vertex i to vertex i + 1 (vertex 0 after the last)
};

// Supersamples per output pixel along each axis.
enum { RASTER_SUPERSAMPLE = 8 };

// Scan slots held by the effect (Vesk::scan_slots): one per render layer, plus one for the clamp
// of the band index to the layer count (a job beyond the last layer finds an empty chunk).
enum { RASTER_SCAN_SLOTS = 5 };

// A run of set cells in one row of the coverage mask, columns first..last inclusive.
struct RowRun {
    int row, first, last;
};

#include <vector>

// Working memory of one scan slot, kept from polygon to polygon so that drawing a particle
// allocates nothing once the largest shape has been seen.
struct RasterScratch {
    std::vector<int> ind;      // vertex indices, sorted by x then by y
    std::vector<EDGE> active;  // active edge list
    std::vector<RowRun> runs;  // set cells of the mask, by row (the general path)
    long general_path = 0;     // polygons counted through it, for the tests and the benchmark
    std::vector<int> sums;     // 8x8 block sums
    std::vector<int> steps;    // whole blocks crossed, as steps along each block row
};

#endif
