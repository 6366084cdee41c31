#include "sparkhost/ofx/Bundle.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <sys/stat.h>

namespace sparkhost {
namespace ofx {

namespace {

bool endsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

std::string baseName(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool isDir(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

BinaryFile bundleBinary(const std::string& bundle) {
    std::string name = baseName(bundle);
    name = name.substr(0, name.size() - std::string(".ofx.bundle").size());
    return {bundle, bundle + "/Contents/Linux-x86-64/" + name + ".ofx"};
}

void scan(const std::string& dir, std::vector<BinaryFile>* out, int depth) {
    if (depth > 16) return;
    DIR* d = ::opendir(dir.c_str());
    if (!d) return;
    std::vector<std::string> names;
    while (dirent* e = ::readdir(d)) {
        std::string name = e->d_name;
        if (name == "." || name == ".." || name[0] == '@') continue;
        names.push_back(name);
    }
    ::closedir(d);
    std::sort(names.begin(), names.end());
    for (const auto& name : names) {
        std::string path = dir + "/" + name;
        if (!isDir(path)) continue;
        if (endsWith(name, ".ofx.bundle"))
            out->push_back(bundleBinary(path));
        else
            scan(path, out, depth + 1);
    }
}

std::mutex gBinariesMutex;
std::map<std::string, std::weak_ptr<Binary>> gBinaries;

}  // namespace

bool findBinaries(const std::string& given, std::vector<BinaryFile>* out, std::string* error) {
    std::string path = given;
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    out->clear();
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) {
        *error = "cannot load plug-in '" + given + "': " + std::strerror(errno);
        return false;
    }
    if (S_ISREG(st.st_mode)) {
        // The binary itself: its bundle is three folders up when it sits in one.
        std::string bundle = path;
        for (int i = 0; i < 3; ++i) {
            size_t slash = bundle.find_last_of('/');
            bundle = slash == std::string::npos ? "." : bundle.substr(0, slash);
        }
        out->push_back({endsWith(bundle, ".ofx.bundle") ? bundle : "", path});
        return true;
    }
    if (endsWith(path, ".ofx.bundle")) {
        BinaryFile f = bundleBinary(path);
        if (::stat(f.binary.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
            *error = "'" + given + "' is not an OpenFX bundle: it has no " +
                     f.binary.substr(path.size() + 1);
            return false;
        }
        out->push_back(f);
        return true;
    }
    scan(path, out, 0);
    if (out->empty()) {
        *error = "'" + given + "' holds no OpenFX bundle (NAME.ofx.bundle)";
        return false;
    }
    return true;
}

Binary::~Binary() {
    for (auto& entry : loaded_)
        if (entry.second == kOfxStatOK || entry.second == kOfxStatReplyDefault)
            entry.first->mainEntry(kOfxActionUnload, nullptr, nullptr, nullptr);
    if (handle_) dlclose(handle_);
}

std::shared_ptr<Binary> Binary::open(const BinaryFile& file, std::string* error) {
    std::lock_guard<std::mutex> lock(gBinariesMutex);
    auto known = gBinaries.find(file.binary);
    if (known != gBinaries.end())
        if (auto alive = known->second.lock()) return alive;

    std::string where = file.binary.find('/') == std::string::npos ? "./" + file.binary : file.binary;
    dlerror();
    void* handle = dlopen(where.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        *error = "cannot load OpenFX plug-in '" + file.binary + "': " + (why ? why : "unknown reason");
        return nullptr;
    }
    auto count = reinterpret_cast<OfxGetNumberOfPluginsFunc*>(dlsym(handle, kOfxGetNumberOfPluginsSymbol));
    auto get = reinterpret_cast<OfxGetPluginFunc*>(dlsym(handle, kOfxGetPluginSymbol));
    if (!count || !get) {
        dlclose(handle);
        *error = "'" + file.binary + "' is not an OpenFX plug-in: it does not export " +
                 (!count ? std::string(kOfxGetNumberOfPluginsSymbol) : std::string(kOfxGetPluginSymbol));
        return nullptr;
    }
    // A binary may choose what to show this host; "failed" means nothing for it.
    if (auto setHost = reinterpret_cast<OfxSetHostFunc*>(dlsym(handle, kOfxSetHostSymbol))) {
        if (setHost(hostStruct()) == kOfxStatFailed) {
            dlclose(handle);
            *error = "'" + file.binary + "' offers no effect to this host (OfxSetHost refused it)";
            return nullptr;
        }
    }
    std::shared_ptr<Binary> binary(new Binary);
    binary->file_ = file;
    binary->handle_ = handle;
    int n = count();
    for (int i = 0; i < n; ++i) {
        OfxPlugin* p = get(i);
        if (!p || !p->pluginApi || std::strcmp(p->pluginApi, kOfxImageEffectPluginApi) != 0 ||
            p->apiVersion != kOfxImageEffectPluginApiVersion || !p->mainEntry || !p->pluginIdentifier)
            continue;
        binary->effects_.push_back(p);
    }
    gBinaries[file.binary] = binary;
    return binary;
}

OfxStatus Binary::load(OfxPlugin* plugin) {
    for (const auto& entry : loaded_)
        if (entry.first == plugin) return entry.second;
    if (plugin->setHost) plugin->setHost(hostStruct());
    OfxStatus status = plugin->mainEntry(kOfxActionLoad, nullptr, nullptr, nullptr);
    loaded_.push_back({plugin, status});
    return status;
}

}  // namespace ofx
}  // namespace sparkhost
