#pragma once

// Plain colours and lobes that every material has besides its own: previews shade by them.

#include "brdf/analytic/znRTFresnelBlendBRDF.h"
#include "brdf/analytic/znRTLambertBRDF.h"
#include "brdf/analytic/znRTPassThroughBTDF.h"
#include "brdf/analytic/znRTPhongBRDF.h"
#include "core/znRTColor.h"

struct znRTCommonAttributes;

struct znRTAnalyticShading
{
    znRTAnalyticShading() = default;
    /// Lobes belong to their object: a copy has its own, not set up.
    znRTAnalyticShading(const znRTAnalyticShading& other)
        : diffuse(other.diffuse), specular(other.specular), emission(other.emission),
          shininess(other.shininess), transparency(other.transparency)
    {
    }
    znRTAnalyticShading& operator=(const znRTAnalyticShading&) = delete;

    void set(const znRTCommonAttributes& attributes);
    float getOpacity() const { return transparency < 1.0f ? 1.0f - transparency : 0.0f; }

    znRTPassThroughBTDF passThrough;
    znRTLambertBRDF lambert;
    znRTPhongBRDF<0> phong;
    znRTFresnelBlendBRDF blend{lambert, phong};

    znRTColor diffuse, specular, emission;
    float shininess = 20.0f; ///< exponent of the highlight
    float transparency = 0.0f;
};
