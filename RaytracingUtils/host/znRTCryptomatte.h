#pragma once

// Id mattes: which objects and materials a pixel shows, each with its share of the pixel.
// J. Friedman, A. Jones, "Fully automatic ID mattes with support for motion blur and
// transparency", SIGGRAPH 2015 posters; ids as in its published file convention: 32-bit
// MurmurHash3 of the UTF-8 name, exponent fixed so that the same bits are a normal float.

#include "host/pixelFormats.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

class znRTCryptomatte
{
public:
    static constexpr u32 noHit = 0; ///< id of samples that hit nothing
    static constexpr int layersPerKind = 3;
    enum Kind { objects = 0, materials = 1 };

    znRTCryptomatte();
    znRTCryptomatte(int width, int height);
    ~znRTCryptomatte();
    znRTCryptomatte(const znRTCryptomatte&) = delete;
    znRTCryptomatte& operator=(const znRTCryptomatte&) = delete;

    /// Forgets all samples.
    void resize(int width, int height);
    /// Forgets all samples, keeps size and names.
    void clear();
    int getWidth() const { return width; }
    int getHeight() const { return height; }

    /// Adds a sample to a pixel; a pixel outside the image is ignored. add() wants the pixel for
    /// itself, addLocked() takes its lock. Weights may be negative (filter lobes), NaN counts as 0.
    void add(int x, int y, u32 objectHash, u32 materialHash, float weight);
    void addLocked(int x, int y, u32 objectHash, u32 materialHash, float weight);

    /// Ranks the ids of each pixel by weight, the largest first (equal ones by id). May be called
    /// at any time, any number of times; samples may be added afterwards. Not while others add.
    void sort();

    /// Two ranks of a pixel: id as float, coverage, id, coverage. Ids whose weights sum to 0 or
    /// less are left out; coverages of a pixel sum to 1 over all of its ids. Zeros where no such
    /// rank exists and outside the image.
    /// @param layer  0..2 ranks of objects, 3..5 of materials
    ZN_RGBA32F getLayer(int x, int y, int layer) const;
    /// Number of ids with a positive weight in a pixel.
    int getRankCount(int x, int y, Kind kind) const;

    /// Id of a name: MurmurHash3 (x86, 32 bit, seed 0) of its bytes with the exponent fixed.
    static u32 hash(std::string_view name);
    /// Plain MurmurHash3 x86 32 bit.
    static u32 murmur3(std::string_view bytes, u32 seed);
    /// Bits as a float.
    static float toFloat(u32 id);

    /// Enters a name into the manifest.
    /// @return its id
    u32 addName(Kind kind, const std::string& name);
    /// JSON object of names and ids as 8 hex digits, in the order of names.
    std::string getManifest(Kind kind) const;

private:
    struct Pixel;

    Pixel* findPixel(int x, int y) const;
    static void addUnlocked(Pixel& pixel, u32 objectHash, u32 materialHash, float weight);

    int width = 0, height = 0;
    std::unique_ptr<Pixel[]> pixels;
    std::map<std::string, u32> names[2];
};
