#pragma once

// The pictures of a render: what is wrong with their names before the first ray, and the files
// afterwards.

#include "Options.h"
#include "Statistics.h"
#include "colorStage.h"

#include "driver/FrameDriver.h"

/// One file under two names would keep only what is written last: pictures, statistics and log have
/// to be different files.
/// @throws UsageError
void checkNames(const Options& options);

/// Says what can be said before anything is loaded: unknown suffixes, formats that cannot hold what
/// is asked for, folders that are not there, files that would be overwritten.
/// @throws UsageError, io::OutputError
void checkOutputs(const Options& options);

/// Writes every picture that can be written; the first failure is thrown at the end, so that one
/// full disk does not cost the others.
/// @param camera  that the frame was seen through
/// @throws std::runtime_error with one line
/// @param colors  for the pictures that are no pictures of light
void writeOutputs(const Options& options, const osg::UberCameraPtr& camera, FrameDriver& driver,
                  const ColorStage& colors, Statistics& statistics);
