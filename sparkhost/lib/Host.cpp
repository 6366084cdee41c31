#include "sparkhost/lib/Host.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

#include "sparkhost/lib/JobPool.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/Processors.h"
#include "sparkhost/lib/Setup.h"

namespace sparkhost {

namespace {

// Live hosts, the current one last.
std::vector<Host*>& liveHosts() {
    static std::vector<Host*>* hosts = new std::vector<Host*>();
    return *hosts;
}

JobPool& jobPool() {
    // Deliberately never destroyed: a plug-in may still fork from its static destructors at exit.
    static JobPool* pool = new JobPool();
    return *pool;
}

constexpr int kMaxForkArgs = 16;

void callJob(void (*job)(), int nargs, const std::array<unsigned long, kMaxForkArgs>& a) {
    using U = unsigned long;
    switch (nargs) {
    case 0: reinterpret_cast<void (*)()>(job)(); break;
    case 1: reinterpret_cast<void (*)(U)>(job)(a[0]); break;
    case 2: reinterpret_cast<void (*)(U, U)>(job)(a[0], a[1]); break;
    case 3: reinterpret_cast<void (*)(U, U, U)>(job)(a[0], a[1], a[2]); break;
    case 4: reinterpret_cast<void (*)(U, U, U, U)>(job)(a[0], a[1], a[2], a[3]); break;
    case 5: reinterpret_cast<void (*)(U, U, U, U, U)>(job)(a[0], a[1], a[2], a[3], a[4]); break;
    case 6:
        reinterpret_cast<void (*)(U, U, U, U, U, U)>(job)(a[0], a[1], a[2], a[3], a[4], a[5]);
        break;
    case 7:
        reinterpret_cast<void (*)(U, U, U, U, U, U, U)>(job)(a[0], a[1], a[2], a[3], a[4], a[5],
                                                             a[6]);
        break;
    case 8:
        reinterpret_cast<void (*)(U, U, U, U, U, U, U, U)>(job)(a[0], a[1], a[2], a[3], a[4],
                                                                a[5], a[6], a[7]);
        break;
    default:
        // Beyond eight the arguments travel on the stack; pass all sixteen slots, the job reads
        // as many as it declares.
        reinterpret_cast<void (*)(U, U, U, U, U, U, U, U, U, U, U, U, U, U, U, U)>(job)(
            a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11], a[12],
            a[13], a[14], a[15]);
        break;
    }
}

bool fileExists(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

}  // namespace

Host::Host() {
    liveHosts().push_back(this);
    setProcessorAnswer(processors_);
    setInputClips(kMaxInputClips);
}

Host::~Host() {
    flushHeldMessage();
    auto& hosts = liveHosts();
    hosts.erase(std::remove(hosts.begin(), hosts.end(), this), hosts.end());
    setProcessorAnswer(hosts.empty() ? kDefaultProcessorAnswer : hosts.back()->processors_);
}

Host& Host::current() {
    if (!liveHosts().empty()) return *liveHosts().back();
    // A process that never made a host of its own still answers the plug-in's calls.
    static Host* fallback = new Host();
    return *fallback;
}

void Host::makeCurrent() {
    auto& hosts = liveHosts();
    hosts.erase(std::remove(hosts.begin(), hosts.end(), this), hosts.end());
    hosts.push_back(this);
    setProcessorAnswer(processors_);
}

// ---- configuration ------------------------------------------------------------------------

void Host::setFrameSize(int width, int height) {
    width_ = width;
    height_ = height;
    for (auto& b : buffers_) b.second.resize(width_, height_, depth_);
}

void Host::setDepthCode(int depthCode) {
    depth_ = depthCode;
    for (auto& b : buffers_) b.second.resize(width_, height_, depth_);
}

void Host::setBitDepth(int bits) { setDepthCode(bits == 12 ? kDepth12 : kDepth8); }

void Host::setProcessors(int count) {
    // The record carries the count in a signed byte.
    processors_ = count < 1 ? 1 : (count > 127 ? 127 : count);
    if (!liveHosts().empty() && liveHosts().back() == this) setProcessorAnswer(processors_);
}

// ---- frame record and buffers -------------------------------------------------------------

SparkInfoStruct Host::info() const {
    SparkInfoStruct in;
    std::memset(&in, 0, sizeof in);
    std::strncpy(in.Name, setupName_.c_str(), sizeof in.Name - 1);
    in.FrameBufferX = originX_;
    in.FrameBufferY = originY_;
    in.TotalBuffers = 1 + inputClips_ + int(registered_.size());
    in.TotalClips = inputClips_;
    in.FramePixels = width_ * height_;
    in.FrameBytes = width_ * height_ * bytesPerPixel(depth_);
    in.Mode = mode_;
    in.FrameNo = unsigned(frame_);
    in.TotalFrameNo = totalFrames_;
    in.FrameWidth = width_;
    in.FrameHeight = height_;
    in.FrameDepth = depth_;
    in.Buffers = nullptr;
    in.NumProcessors = char(processors_);
    in.Context = 0;
    in.RenderQuality = 0;
    return in;
}

void Host::setInputClips(int count) {
    inputClips_ = count < 0 ? 0 : (count > kMaxInputClips ? kMaxInputClips : count);
    buffer(kOutputBuffer);
    for (int i = 0; i < inputClips_; ++i) buffer(kFirstInputBuffer + i);
}

bool Host::hasBuffer(int id) const { return buffers_.count(id) != 0; }

FrameBuffer& Host::buffer(int id) {
    auto it = buffers_.find(id);
    if (it == buffers_.end()) it = buffers_.emplace(id, FrameBuffer(width_, height_, depth_)).first;
    return it->second;
}

int Host::registerBuffer() {
    int id = kFirstInputBuffer + kMaxInputClips;
    while (hasBuffer(id)) ++id;
    buffer(id);
    registered_.push_back(id);
    return id;
}

void Host::loadInputs(int frame) {
    for (int clip = 0; clip < inputClips_; ++clip) {
        FrameBuffer& b = buffer(kFirstInputBuffer + clip);
        b.resize(width_, height_, depth_);
        if (!provider_ || !provider_(clip, frame, b)) b.clear();
    }
}

bool Host::fetchFrame(int clip, int frame, FrameBuffer& destination) {
    frameRequests_.emplace_back(clip, frame);
    destination.resize(width_, height_, depth_);
    if (clip < 0 || clip >= inputClips_ || !provider_ || !provider_(clip, frame, destination)) {
        destination.clear();
        return false;
    }
    return true;
}

std::vector<std::pair<int, int>> Host::frameRequests() const { return frameRequests_; }

bool Host::fillBufferRecord(int id, SparkMemBufStruct* record) {
    if (!record) return false;
    if (!buffersReady_) {
        ++refusedBufferRequests_;
        return false;
    }
    if (id == failingBuffer_ || !hasBuffer(id)) return false;
    FrameBuffer& b = buffer(id);
    b.resize(width_, height_, depth_);
    std::memset(record, 0, sizeof *record);
    record->TotalBuffers = int(buffers_.size());
    record->Buffer = b.words();
    record->BufState = SPARK_BUF_LOCKED;
    record->BufSize = int(b.bytes());
    record->BufFmt = depth_;
    record->BufWidth = width_;
    record->BufHeight = height_;
    record->BufDepth = depth_;
    record->Stride = b.stride();
    record->Inc = b.inc();
    return true;
}

// ---- messages -------------------------------------------------------------------------------

void Host::report(HostMessage::Kind kind, const std::string& text) {
    std::lock_guard<std::mutex> lock(messageMutex_);
    messages_.push_back({kind, text});
    printHeldLocked();
    printLocked(kind, text);
}

void Host::showMessage(const std::string& text) {
    std::lock_guard<std::mutex> lock(messageMutex_);
    messages_.push_back({HostMessage::Message, text});
    printHeldLocked();
    heldMessage_ = text;
    holding_ = true;
}

void Host::pausedOnMessage() {
    std::lock_guard<std::mutex> lock(messageMutex_);
    holding_ = false;
}

void Host::flushHeldMessage() {
    std::lock_guard<std::mutex> lock(messageMutex_);
    printHeldLocked();
}

void Host::printHeldLocked() {
    if (!holding_) return;
    holding_ = false;
    printLocked(HostMessage::Message, heldMessage_);
}

void Host::printLocked(HostMessage::Kind kind, const std::string& text) {
    if (!echo_) return;
    if (beforeEcho_) beforeEcho_();
    std::string shown = text;
    while (!shown.empty() && (shown.back() == '\n' || shown.back() == '\r')) shown.pop_back();
    const char* word = "";
    switch (kind) {
    case HostMessage::Error: word = "error: "; break;
    case HostMessage::Confirm: word = "question: "; break;
    case HostMessage::Note: word = "note: "; break;
    case HostMessage::Message: word = ""; break;
    }
    std::fprintf(stderr, "%s%s%s\n", prefix_.c_str(), word, shown.c_str());
    std::fflush(stderr);
}

std::vector<HostMessage> Host::messages() const {
    std::lock_guard<std::mutex> lock(messageMutex_);
    return messages_;
}

std::string Host::messageText(HostMessage::Kind kind) const {
    std::lock_guard<std::mutex> lock(messageMutex_);
    std::string all;
    for (const auto& m : messages_)
        if (m.kind == kind) all += m.text + "\n";
    return all;
}

void Host::clearMessages() {
    std::lock_guard<std::mutex> lock(messageMutex_);
    messages_.clear();
}

// ---- panel state ----------------------------------------------------------------------------

void Host::setParameterEnabled(int type, int control, bool enabled) {
    enabled_[{type, control}] = enabled;
}

bool Host::parameterEnabled(int type, int control) const {
    auto it = enabled_.find({type, control});
    return it == enabled_.end() || it->second;
}

void Host::setControlName(int type, int control, const std::string& name) {
    controlNames_[{type, control}] = name;
}

std::string Host::controlName(int type, int control) const {
    auto it = controlNames_.find({type, control});
    return it == controlNames_.end() ? std::string() : it->second;
}

void Host::addChannelFolder(int level, const std::string& name) {
    ChannelEntry e;
    e.folder = true;
    e.level = level;
    e.name = name;
    channels_.push_back(e);
}

void Host::addChannelControl(int level, int type, int control) {
    ChannelEntry e;
    e.level = level;
    e.type = type;
    e.control = control;
    channels_.push_back(e);
}

// ---- animation ------------------------------------------------------------------------------

const Curve* Host::findCurve(int type, int control) const {
    auto it = curves_.find({type, control});
    return it == curves_.end() ? nullptr : &it->second;
}

float Host::curveValue(int type, int control, float frame) const {
    const Curve* c = findCurve(type, control);
    if (c && !c->empty()) return c->valueAt(frame);
    double v = 0.0;
    if (panel_ && panel_->channelValue(type, control, &v)) return float(v);
    return 0.0f;
}

// ---- events --------------------------------------------------------------------------------

void Host::addEvent(const ShotEvent& event) {
    auto after = std::upper_bound(events_.begin(), events_.end(), event.frame,
                                  [](int frame, const ShotEvent& e) { return frame < e.frame; });
    events_.insert(after, event);
}

bool Host::removeEvent(size_t index) {
    if (index >= events_.size()) return false;
    events_.erase(events_.begin() + std::ptrdiff_t(index));
    return true;
}

std::vector<std::string> Host::eventsBetween(int first, int last) const {
    std::vector<std::string> records;
    for (const auto& e : events_)
        if (e.frame >= first && e.frame <= last) records.push_back(e.record);
    return records;
}

// ---- setups and files -----------------------------------------------------------------------

void Host::loadSetupRequest(const char* name) {
    std::string path = name ? name : "";
    setupLoads_.push_back(path);
    if (path.empty() || !panel_) return;
    if (!fileExists(path)) {
        report(HostMessage::Note, "no setup file '" + path + "' yet: starting from the defaults");
        return;
    }
    std::string error;
    if (readSetup(*panel_, *this, path, &error)) return;
    if (keepSetupErrors_)
        setupError_ = error;
    else
        report(HostMessage::Error, error);
}

void Host::saveSetupRequest(const char* name) {
    std::string path = name ? name : "";
    setupSaves_.push_back(path);
    if (!saveSetups_ || path.empty() || !panel_) return;
    std::string error;
    if (!writeSetup(*panel_, *this, path, &error)) report(HostMessage::Error, error);
}

void Host::fileBrowser(const char* path, const char* extension, void (*done)(char*)) {
    browserRequests_.push_back(std::string(path ? path : "") + "|" + (extension ? extension : ""));
    const std::string answer =
        browserHandler_ ? browserHandler_(path ? path : "", extension ? extension : "") : browserAnswer_;
    if (answer.empty()) {
        report(HostMessage::Note, "file browser closed without a choice (no file given to the host)");
        return;
    }
    if (!done) return;
    std::vector<char> chosen(answer.begin(), answer.end());
    chosen.push_back('\0');
    done(chosen.data());
}

// ---- parallel jobs --------------------------------------------------------------------------

void Host::fork(void (*job)(), int nargs, const unsigned long* args) {
    ++forkCount_;
    if (!job) return;
    if (nargs < 0 || nargs > kMaxForkArgs) {
        report(HostMessage::Error, "sparkMpFork: " + std::to_string(nargs) +
                                       " arguments requested, at most 16 are supported");
        return;
    }
    std::array<unsigned long, kMaxForkArgs> a{};
    for (int i = 0; i < nargs; ++i) a[size_t(i)] = args[i];
    std::function<void(int)> run = [&](int) { callJob(job, nargs, a); };
    int width = concurrency_ > 0 ? concurrency_ : machineProcessors();
    jobPool().run(processors_, run, width);
}

}  // namespace sparkhost
