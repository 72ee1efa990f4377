#pragma once
// The two exports of a whole sprite: a numbered BMP sequence on one canvas, and the SLX bundle.

#include <cstdint>
#include <string>
#include <vector>

#include "base/Host.h"
#include "base/Outcome.h"
#include "slp/SLPCodeNew.h"

// The common canvas of a sequence: every frame's pixels relative to its hot spot, from (MinX, MinY)
// to (MaxX, MaxY). The odd start values are the ones the sequence files have always been made with.
struct CanvasBounds {
    int64_t MinX = 10000, MinY = 10000, MaxX = -10000, MaxY = -100000;
    int64_t Width() const { return MaxX - MinX + 1; }
    int64_t Height() const { return MaxY - MinY + 1; }
};

CanvasBounds MeasureCanvas(const std::vector<SLPFrameInfo>& frames);

// MeasureCanvas, refused (with a reason) when the canvas is empty or larger than the program draws.
Outcome CheckedCanvas(const std::vector<SLPFrameInfo>& frames, CanvasBounds& bounds);

// The bytes the files of a sequence and of an SLX bundle of these frames take, for a caller that
// must know before it writes whether they fit; 0 for a canvas the sequence refuses.
int64_t SequenceFileBytes(const std::vector<SLPFrameInfo>& frames);
int64_t BundleFileBytes(const std::vector<SLPFrameInfo>& frames);

// What a whole-sprite export did beside its result, for a caller that places or counts its files.
struct ExportReport {
    std::vector<std::string> Unfinished;  // files that could not be written to their end
    std::vector<int32_t> DamagedFrames;   // frames written as far as they decoded
};

// Writes every frame as BasePath + "001.bmp", ... on one canvas, hot spots on the same pixel, with
// MaskColour for the background. Leaves the gate of FrameScroll "on" however it ends. The file's
// sprite is drawn as player 1; one in memory in the team colours of `player`. A damaged frame is
// written as far as it decodes, and a file that could not be written to its end stays as far as it
// got; `report`, when given, names both.
Outcome ExportSequence(const std::string& SLPPath, const std::string& BasePath, Host& host);
Outcome ExportSequence(const SLPFile& sprite, const std::string& BasePath, Host& host, int32_t player = FirstPlayer,
                       ExportReport* report = nullptr);

// Writes BasePath + ".slx" and, per frame i, BasePath + i + "c.bmp" (image) and "d.bmp" (mask); the
// players and the report as for ExportSequence. Given a report, the list leaves out the frames whose
// bitmaps are unfinished.
Outcome ExportSLX(const std::string& SLPPath, const std::string& BasePath, Host& host);
Outcome ExportSLX(const SLPFile& sprite, const std::string& BasePath, Host& host, int32_t player = FirstPlayer,
                  ExportReport* report = nullptr);
