#pragma once

// OpenEXR files with the layers of a frame: names of parts and channels, what the header tells,
// and how id mattes are made known to the programs that read them.
// Id mattes follow J. Friedman, A. Jones, "Cryptomatte specification", version 1.2.0.

#include "Options.h"

#include "host/osg/Camera.h"
#include "host/znRTCryptomatte.h"
#include "io/ImageData.h"

#include <functional>

/// All files that an output with passes becomes: one, or one per pass.
std::vector<std::string> passFiles(const Options& options, const std::string& output);

/// @param matte    names of the id mattes; null without
/// @param samples  that every pixel received
/// @param image    makes the picture of a pass, RGBA floats
/// @throws io::OutputError
void writePassFiles(const Options& options, const std::string& output, const osg::CameraPtr& camera,
                    const znRTCryptomatte* matte, int samples,
                    const std::function<io::ImageData(u32)>& image);
