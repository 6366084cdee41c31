// The input clips of a render: each an image sequence or a still, read on demand at the host's
// frame size and depth. A clip without files shows black; the first clip may instead show the
// built-in default plate.
#ifndef SPARKHOST_LIB_CLIPSET_H
#define SPARKHOST_LIB_CLIPSET_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sparkhost/lib/FrameBuffer.h"
#include "sparkhost/lib/ImageFiles.h"
#include "sparkhost/lib/SequencePattern.h"

namespace sparkhost {

class ClipSet {
public:
    // clip counts from 0 (0 = the first input clip).
    bool setClip(int clip, const std::string& pattern, std::string* error);
    void setDefaultPlate(int clip) { plates_[clip] = true; }
    bool hasClip(int clip) const { return patterns_.count(clip) != 0; }
    const std::map<int, SequencePattern>& clips() const { return patterns_; }

    // Checks that every file the frames need exists and has the frame's size. The error names the clip and the file.
    bool check(const std::vector<int>& frames, int width, int height, std::string* error) const;

    // Reads a clip's frame into a buffer of the frame's size and depth; false (and black) when
    // the clip has no such file. Read failures and wrong sizes are kept for lastError().
    bool read(int clip, int frame, FrameBuffer& destination);
    const std::string& lastError() const { return lastError_; }
    void clearError() { lastError_.clear(); }

    // Reads a clip's file into host codes instead of readImage (colour management does).
    using Reader = std::function<bool(int clip, const std::string& path, int depthCode, FrameBuffer* out,
                                      std::string* error)>;
    void setReader(Reader reader) { reader_ = std::move(reader); }

    // Wall-clock seconds spent in read() so far, so a render can report its image reading apart
    // from the plug-in's own time.
    double readSeconds() const { return readSeconds_; }

    // Keeps decoded frames of image sequences in memory, up to about budgetBytes, so that a host
    // which goes over the same frames again (a viewer replaying its shot) decodes each file once.
    // Frames are kept in the order first read and none is dropped once the budget is spent: a
    // replay always starts from the shot's first frame, so the earliest frames are the ones read
    // most often, and dropping old frames for new ones would miss on every frame of a long shot.
    // 0 (the default) keeps none.
    void keepFrames(size_t budgetBytes) { keepBudget_ = budgetBytes; }
    size_t keptBytes() const { return keptBytes_; }

private:
    std::map<int, SequencePattern> patterns_;
    std::map<int, bool> plates_;
    std::map<int, FrameBuffer> stills_;  // a still is read once
    std::map<std::pair<int, int>, FrameBuffer> kept_;  // (clip, frame) of sequences, see keepFrames
    size_t keepBudget_ = 0;
    size_t keptBytes_ = 0;
    FrameBuffer plate_;
    FrameBuffer loaded_;  // a sequence's file as decoded, kept so that its block serves every frame
    std::string lastError_;
    double readSeconds_ = 0.0;
    Reader reader_;

    bool readTimed(int clip, int frame, FrameBuffer& destination);
    bool readFile(int clip, const std::string& path, int depthCode, FrameBuffer* out, std::string* error) {
        return reader_ ? reader_(clip, path, depthCode, out, error) : readImage(path, depthCode, out, error);
    }
};

}  // namespace sparkhost

#endif
