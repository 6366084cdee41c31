// Finding and loading OpenFX binaries. A path names either one bundle (NAME.ofx.bundle, whose
// binary is Contents/Linux-x86-64/NAME.ofx), the binary inside one, or a folder searched
// recursively for bundles (names starting with '@' skipped, as hosts do).
//
// A binary is loaded once per process (dlopen with RTLD_NOW | RTLD_LOCAL: every OFX binary exports
// the same names) and stays loaded while any effect of it is in use; its Load action is sent
// once, its Unload when the last user lets go.
#ifndef SPARKHOST_OFX_BUNDLE_H
#define SPARKHOST_OFX_BUNDLE_H

#include <memory>
#include <string>
#include <vector>

#include "sparkhost/ofx/OfxApi.h"

namespace sparkhost {
namespace ofx {

struct BinaryFile {
    std::string bundle;   // the .ofx.bundle folder
    std::string binary;   // Contents/Linux-x86-64/NAME.ofx
};

// The binaries a path names. Fails with a message naming the path when it holds none.
bool findBinaries(const std::string& path, std::vector<BinaryFile>* out, std::string* error);

class Binary {
public:
    ~Binary();
    // Loads a binary (or hands out the one already loaded) and lists its image effects.
    static std::shared_ptr<Binary> open(const BinaryFile& file, std::string* error);

    const BinaryFile& file() const { return file_; }
    // The image-effect plug-ins of the binary, those of another API or version left out.
    const std::vector<OfxPlugin*>& effects() const { return effects_; }
    // Sends Load to a plug-in once (later calls return the first answer).
    OfxStatus load(OfxPlugin* plugin);

private:
    Binary() = default;
    BinaryFile file_;
    void* handle_ = nullptr;
    std::vector<OfxPlugin*> effects_;
    std::vector<std::pair<OfxPlugin*, OfxStatus>> loaded_;
};

// The host structure handed to every plug-in: the host's properties and fetchSuite.
OfxHost* hostStruct();

}  // namespace ofx
}  // namespace sparkhost

#endif
