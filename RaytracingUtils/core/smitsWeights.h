#pragma once

// Which basis spectra make up an RGB colour, and by how much: white as far as the smallest channel
// goes, then the secondary of the two others, then the primary of the largest.
// B. Smits, "An RGB-to-Spectrum Conversion for Reflectances", Journal of Graphics Tools 4(4), 1999.

struct znSmitsWeights
{
    enum Basis { white, cyan, magenta, yellow, red, green, blue };

    Basis secondary, primary;
    float ofWhite, ofSecondary, ofPrimary;

    znSmitsWeights(float r, float g, float b)
    {
        // Ties go to the first test that holds: smallest channel red, then green, then blue.
        if (g >= r && b >= r)
            b >= g ? set(cyan, blue, r, g, b) : set(cyan, green, r, b, g);
        else if (r >= g && b >= g)
            b >= r ? set(magenta, blue, g, r, b) : set(magenta, red, g, b, r);
        else
            g >= r ? set(yellow, green, b, r, g) : set(yellow, red, b, g, r);
    }

private:
    void set(Basis second, Basis first, float low, float middle, float high)
    {
        secondary = second;
        primary = first;
        ofWhite = low;
        ofSecondary = middle - low;
        ofPrimary = high - middle;
    }
};
