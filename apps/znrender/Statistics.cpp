#include "Statistics.h"

#include "io/OutputFile.h"

#include <nlohmann/json.hpp>

#include <sys/resource.h>

void Statistics::take(const FrameReport& report, const znRaytracerP& view,
                      const FrameSettings& settings)
{
    buildSeconds += report.buildSeconds;
    traceSeconds = report.traceSeconds;
    threadSeconds = report.threadSeconds;
    width = settings.width;
    height = settings.height;
    samples = report.samples;
    isComplete = report.outcome == FrameReport::Outcome::complete;
    scene = view.m_statistics;
    primaryRays = width * height * u64(report.samples);
}

void Statistics::write(const std::string& path) const
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const nlohmann::ordered_json json = {
        {"image", {{"width", width}, {"height", height}, {"samples", samples}}},
        {"complete", isComplete},
        {"seconds",
         {{"load", loadSeconds},
          {"build", buildSeconds},
          {"trace", traceSeconds},
          {"traceAllThreads", threadSeconds},
          {"copy", copySeconds},
          {"write", writeSeconds}}},
        {"rays", {{"primary", primaryRays}}},
        {"scene",
         {{"primitives", scene.primitives},
          {"objects", scene.objects},
          {"nodes", scene.nodes},
          {"lights", scene.lights},
          {"materials", scene.materials}}},
        {"memory",
         {{"intersectorsMB", scene.intersectorMemory},
          {"geometryMB", scene.geometryMemory},
          {"peakMB", double(usage.ru_maxrss) / 1024.0}}}};
    const std::string text = json.dump(2) + "\n";
    io::OutputFile file(path);
    file.write(text.data(), text.size());
    file.commit();
}
