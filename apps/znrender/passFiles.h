#pragma once

// OpenEXR files with the layers of a frame: names of parts and channels, what the header tells,
// and how id mattes are made known to the programs that read them.
// Id mattes follow J. Friedman, A. Jones, "Cryptomatte specification", version 1.2.0.

#include "Options.h"
#include "Statistics.h"

#include "host/osg/Camera.h"
#include "host/znRTCryptomatte.h"
#include "io/ImageData.h"

#include <functional>
#include <map>

/// All files that an output with passes becomes: one, or one per pass.
std::vector<std::string> passFiles(const Options& options, const std::string& output);

/// How a picture was made, as texts of an OpenEXR header.
std::map<std::string, std::string> headerTexts(const Options& options,
                                               const Statistics& statistics);

/// @param matte       names of the id mattes; null without
/// @param statistics  of the frame: samples that every pixel received, and time
/// @param image       makes the picture of a pass, RGBA floats
/// @throws io::OutputError
void writePassFiles(const Options& options, const std::string& output, const osg::CameraPtr& camera,
                    const znRTCryptomatte* matte, const Statistics& statistics,
                    const std::function<io::ImageData(u32)>& image);
