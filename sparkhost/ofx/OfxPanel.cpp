// An OpenFX effect's parameters as sparkhost's panel: every valued parameter and push button
// becomes a control record the host owns (a parameter of several values, a colour included, one
// number control per value, so that values pass exactly), placed on the effect's pages in their order (29 places
// a page, a page that holds more going on over the next), so that info, --set, --press, keys,
// setups and the viewer's panel work on an OFX effect as on a Spark plug-in. Values go both
// ways: a person's edit writes the record and the host tells the effect (InstanceChanged, reason
// "user edited"); a value the effect sets goes into the record and comes back to it as
// "plug-in edited" once its action has returned.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <set>

#include "sparkhost/ofx/OfxKind.h"

namespace sparkhost {
namespace ofx {

namespace {

constexpr int kPlacesPerPage = 29;
constexpr int kFirstPlace = 6;

std::string escapePercent(const std::string& s) {
    std::string out;
    for (char c : s) {
        out += c;
        if (c == '%') out += '%';
    }
    return out;
}

std::string labelOf(const ParamObject& p) {
    std::string label = p.props.getString(kOfxPropLabel);
    return label.empty() ? p.name : label;
}

bool intValued(const ParamObject& p) {
    return p.type == kOfxParamTypeInteger || p.type == kOfxParamTypeInteger2D || p.type == kOfxParamTypeInteger3D;
}

// How many panel controls a parameter takes.
int controlCount(const ParamObject& p) {
    if (p.type == kOfxParamTypePushButton || p.type == kOfxParamTypeString ||
        p.type == kOfxParamTypeBoolean || p.type == kOfxParamTypeChoice)
        return 1;
    if (p.type == kOfxParamTypeCustom) return 0;
    return p.holdsValue() ? p.dimension() : 0;
}

ControlKind kindOf(const ParamObject& p) {
    if (p.type == kOfxParamTypePushButton) return ControlKind::Push;
    if (p.type == kOfxParamTypeString) return ControlKind::String;
    if (p.type == kOfxParamTypeBoolean) return ControlKind::Boolean;
    if (p.type == kOfxParamTypeChoice) return ControlKind::List;
    return intValued(p) ? ControlKind::Int : ControlKind::Float;
}

}  // namespace

const Curve* OfxKind::curveOf(int control) const {
    const Curve* c = host_.findCurve(1, control);
    return c && !c->empty() ? c : nullptr;
}

void OfxKind::buildPanel(Panel& panel) {
    records_.clear();
    titleStore_.clear();
    controlParams_.clear();
    controlDimensions_.clear();
    mirrored_.clear();
    auto keep = [this](const std::string& s) {
        titleStore_.emplace_back(new std::string(s));
        return titleStore_.back()->c_str();
    };
    std::vector<Control> controls;
    auto record = [&](ControlKind kind, int number, const std::string& name, const ParamObject* param, int dim) {
        size_t bytes = recordSize(kind);
        records_.emplace_back(new unsigned char[bytes]());
        void* address = records_.back().get();
        controls.push_back(Control{kind, number, name, address, {}});
        if (param) {
            controlParams_[address] = param->name;
            controlDimensions_[address] = dim;
        }
        return address;
    };

    // The clips' names, in the places below the first page, as a Spark panel has them.
    for (size_t i = 0; i < inputs_.size(); ++i) {
        ClipObject* clip = contextual_->clip(inputs_[i]);
        std::string label = clip->props.getString(kOfxPropLabel, 0, clip->name);
        auto* r = static_cast<SparkStringStruct*>(record(ControlKind::String, int(i) + 1, "clip." + clip->name,
                                                         nullptr, 0));
        std::strncpy(r->Value, label.c_str(), SPARK_STRING_LENGTH - 1);
        r->Title = keep("%s");
        host_.setClipTitle(int(i) + 1, clip->name);
    }

    // Pages in the effect's order, each with the parameters it lists; what no page lists follows.
    std::vector<ParamObject*> pages;
    for (const auto& name : contextual_->props.strings(kOfxPluginPropParamPageOrder))
        if (ParamObject* p = contextual_->params.find(name))
            if (p->type == kOfxParamTypePage) pages.push_back(p);
    for (const auto& p : contextual_->params.list)
        if (p->type == kOfxParamTypePage && std::find(pages.begin(), pages.end(), p.get()) == pages.end())
            pages.push_back(p.get());
    std::vector<std::pair<std::string, std::vector<ParamObject*>>> layout;
    std::set<std::string> placed;
    for (ParamObject* page : pages) {
        std::vector<ParamObject*> children;
        for (const auto& child : page->props.strings(kOfxParamPropPageChild)) {
            ParamObject* p = contextual_->params.find(child);
            if (!p || placed.count(child) || controlCount(*p) == 0) continue;
            placed.insert(child);
            children.push_back(p);
        }
        layout.push_back({labelOf(*page), children});
    }
    std::vector<ParamObject*> rest;
    for (const auto& p : contextual_->params.list)
        if (!placed.count(p->name) && controlCount(*p) > 0) rest.push_back(p.get());
    if (!rest.empty()) {
        std::string title = layout.empty() ? descriptor_->props.getString(kOfxPropLabel, 0, identifier_) : "Other";
        layout.push_back({title, rest});
    }

    int slot = 0;
    for (const auto& page : layout) {
        int place = 0;
        host_.setPageTitle(slot, page.first);
        for (ParamObject* p : page.second) {
            p->controls.clear();
            std::string label = labelOf(*p);
            std::vector<std::string> dimLabels = p->props.strings(kOfxParamPropDimensionLabel);
            for (int d = 0; d < controlCount(*p); ++d) {
                if (place == kPlacesPerPage) {
                    ++slot;
                    place = 0;
                    host_.setPageTitle(slot, page.first);
                }
                int number = kFirstPlace + kPlacesPerPage * slot + place++;
                ControlKind kind = kindOf(*p);
                std::string name = p->name;
                std::string title = label;
                if (controlCount(*p) > 1) {
                    std::string dl = d < int(dimLabels.size()) ? dimLabels[size_t(d)] : std::to_string(d + 1);
                    std::transform(dl.begin(), dl.end(), dl.begin(), ::toupper);
                    name += "." + dl;
                    title += " " + dl;
                }
                void* address = record(kind, number, name, p, d);
                p->controls.push_back(number);
                host_.setControlName(1, number, title);
                switch (kind) {
                case ControlKind::Float: {
                    auto* r = static_cast<SparkFloatStruct*>(address);
                    int digits = std::max(0, std::min(9, p->props.getInt(kOfxParamPropDigits, 0, 2)));
                    r->Title = keep(escapePercent(title) + " %." + std::to_string(digits) + "f");
                    double lo = p->props.getDouble(kOfxParamPropMin, d, -DBL_MAX);
                    double hi = p->props.getDouble(kOfxParamPropMax, d, DBL_MAX);
                    r->Min = float(std::max(lo, -double(FLT_MAX)));
                    r->Max = float(std::min(hi, double(FLT_MAX)));
                    r->Increment = float(p->props.getDouble(kOfxParamPropIncrement, 0, 1.0));
                    break;
                }
                case ControlKind::Int: {
                    auto* r = static_cast<SparkIntStruct*>(address);
                    r->Title = keep(escapePercent(title) + " %d");
                    r->Min = p->props.getInt(kOfxParamPropMin, d, INT_MIN);
                    r->Max = p->props.getInt(kOfxParamPropMax, d, INT_MAX);
                    r->Increment = 1;
                    break;
                }
                case ControlKind::Boolean: static_cast<SparkBooleanStruct*>(address)->Title = keep(escapePercent(title)); break;
                case ControlKind::Push: static_cast<SparkPushStruct*>(address)->Title = keep(escapePercent(title)); break;
                case ControlKind::String:
                    static_cast<SparkStringStruct*>(address)->Title = keep(escapePercent(title) + ": %s");
                    break;
                case ControlKind::List: {
                    auto* r = static_cast<SparkPupStruct*>(address);
                    std::vector<std::string> options = p->props.strings(kOfxParamPropChoiceOption);
                    r->TitleCount = int(std::min<size_t>(options.size(), SPARK_PUP_MAX_TITLES));
                    for (int i = 0; i < r->TitleCount; ++i) r->Titles[i] = keep(title + ": " + options[size_t(i)]);
                    break;
                }
                default: break;
                }
            }
        }
        ++slot;
    }
    // Records start at the defaults, which are also what "default" shows.
    for (auto& c : controls) {
        auto it = controlParams_.find(c.address);
        if (it != controlParams_.end()) {
            ParamObject* p = contextual_->params.find(it->second);
            std::vector<double> values(size_t(std::max(p->dimension(), 0)));
            for (size_t i = 0; i < values.size(); ++i) values[i] = p->props.getDouble(kOfxParamPropDefault, int(i));
            std::lock_guard<std::mutex> lock(p->mutex);
            p->values = values;
            p->text = p->textual() ? p->props.getString(kOfxParamPropDefault) : "";
        }
    }
    panel.setControls(std::move(controls));
    for (const auto& p : contextual_->params.list) mirrorToPanel(*p);
    for (auto& c : panel.controls()) {
        const unsigned char* bytes = static_cast<const unsigned char*>(c.address);
        const_cast<Control&>(c).initial.assign(bytes, bytes + recordSize(c.kind));
    }
}

void OfxKind::mirrorToPanel(const ParamObject& p) {
    if (!panel_) return;
    std::vector<double> values;
    std::string text;
    {
        std::lock_guard<std::mutex> lock(p.mutex);
        values = p.values;
        text = p.text;
    }
    for (const auto& c : panel_->controls()) {
        auto it = controlParams_.find(c.address);
        if (it == controlParams_.end() || it->second != p.name) continue;
        size_t d = size_t(controlDimensions_[c.address]);
        switch (c.kind) {
        case ControlKind::Float: c.asFloat()->Value = d < values.size() ? float(values[d]) : 0.0f; break;
        case ControlKind::Int: c.asInt()->Value = d < values.size() ? int(std::lround(values[d])) : 0; break;
        case ControlKind::Boolean: c.asBoolean()->Value = !values.empty() && values[0] != 0 ? 1 : 0; break;
        case ControlKind::List: c.asList()->Value = values.empty() ? 0 : int(std::lround(values[0])); break;
        case ControlKind::String:
            std::memset(c.asString()->Value, 0, SPARK_STRING_LENGTH);
            std::strncpy(c.asString()->Value, text.c_str(), SPARK_STRING_LENGTH - 1);
            break;
        default: break;
        }
        const unsigned char* bytes = static_cast<const unsigned char*>(c.address);
        mirrored_[c.address].assign(bytes, bytes + recordSize(c.kind));
        host_.noteControlUpdate(c.number);
    }
}

void OfxKind::mirrorAll() {
    if (!instance_) return;
    for (const auto& p : instance_->params.list) mirrorToPanel(*p);
    applyEnabled();
}

void OfxKind::applyEnabled() {
    if (!instance_) return;
    for (const auto& p : instance_->params.list) {
        bool enabled = p->props.getInt(kOfxParamPropEnabled, 0, 1) && !p->props.getInt(kOfxParamPropSecret);
        for (int number : p->controls) host_.setParameterEnabled(1, number, enabled);
    }
}

void OfxKind::userChanged(const std::string& name) {
    PropertySet reason;
    reason.defineString(kOfxPropChangeReason, {kOfxChangeUserEdited});
    // The effect's own edits in answer come back after the End of this change.
    ++actionDepth_;
    call(kOfxActionBeginInstanceChanged, instance_.get(), &reason, nullptr);
    changed(*instance_, kOfxTypeParameter, name, kOfxChangeUserEdited, currentTime());
    call(kOfxActionEndInstanceChanged, instance_.get(), &reason, nullptr);
    --actionDepth_;
    flushPluginEdits();
    std::vector<std::string> slaves = instance_->props.strings(kOfxImageEffectPropClipPreferencesSlaveParam);
    if (std::find(slaves.begin(), slaves.end(), name) != slaves.end()) clipPreferences(*instance_);
    // A change means new pictures: frames rendered ahead are stale.
    frameCache_.clear();
}

// Takes one record's value into its parameter.
void OfxKind::takeRecord(const Control& c) {
    auto it = controlParams_.find(c.address);
    ParamObject* p = it == controlParams_.end() || !instance_ ? nullptr : instance_->params.find(it->second);
    if (!p || c.kind == ControlKind::Push) return;
    size_t d = size_t(controlDimensions_[c.address]);
    {
        std::lock_guard<std::mutex> lock(p->mutex);
        switch (c.kind) {
        case ControlKind::Float: if (d < p->values.size()) p->values[d] = c.asFloat()->Value; break;
        case ControlKind::Int: if (d < p->values.size()) p->values[d] = c.asInt()->Value; break;
        case ControlKind::Boolean: if (!p->values.empty()) p->values[0] = (c.asBoolean()->Value & 0xFF) ? 1 : 0; break;
        case ControlKind::List: if (!p->values.empty()) p->values[0] = c.asList()->Value; break;
        case ControlKind::String: p->text.assign(c.asString()->Value, strnlen(c.asString()->Value, SPARK_STRING_LENGTH)); break;
        default: break;
        }
    }
    const unsigned char* bytes = static_cast<const unsigned char*>(c.address);
    mirrored_[c.address].assign(bytes, bytes + recordSize(c.kind));
    frameCache_.clear();
}

// Records written without the plug-in being told are values loaded (a setup read into the
// panel): the parameters take them as a host loading a project does, without change actions.
void OfxKind::syncFromRecords() {
    if (!panel_ || !instance_) return;
    for (const auto& c : panel_->controls()) {
        if (c.kind == ControlKind::Push || !controlParams_.count(c.address)) continue;
        // Curves write their value into the records before every frame; the curve is the value.
        if ((c.kind == ControlKind::Float || c.kind == ControlKind::Int) && curveOf(c.number)) continue;
        const unsigned char* bytes = static_cast<const unsigned char*>(c.address);
        if (mirrored_[c.address] != std::vector<unsigned char>(bytes, bytes + recordSize(c.kind))) takeRecord(c);
    }
}

unsigned long* OfxKind::controlChanged(const Control& c, int) {
    auto it = controlParams_.find(c.address);
    if (it == controlParams_.end() || !instance_ || !instance_->params.find(it->second)) return nullptr;
    // Values loaded before this edit are in place when the effect hears of it.
    syncFromRecords();
    takeRecord(c);
    userChanged(it->second);
    return nullptr;
}

void OfxKind::valueAt(const ParamObject& p, double time, std::vector<double>* values) const {
    if (p.type == kOfxParamTypeBoolean || p.type == kOfxParamTypeChoice) return;
    for (size_t d = 0; d < p.controls.size() && d < values->size(); ++d)
        if (const Curve* c = curveOf(p.controls[d])) (*values)[d] = c->valueAt(time);
}

OfxStatus OfxKind::pluginSets(ParamObject& p, const std::vector<double>& values, const std::string& text,
                              bool atTime, double time) {
    bool main = instance_ && p.set == &instance_->params;
    bool keyable = main && !p.textual() && p.type != kOfxParamTypeBoolean &&
                   p.type != kOfxParamTypeChoice && !p.controls.empty();
    bool animated = false;
    if (keyable)
        for (int number : p.controls)
            if (curveOf(number)) animated = true;
    if (keyable && (atTime || animated)) {
        // Keys live in the host's curves, which the panel, setups and keys files share.
        int frame = int(std::lround(atTime ? time : currentTime()));
        for (size_t d = 0; d < p.controls.size() && d < values.size(); ++d)
            host_.curve(1, p.controls[d]).setKey(frame, float(values[d]));
    } else {
        std::lock_guard<std::mutex> lock(p.mutex);
        if (p.textual()) p.text = text;
        else p.values = values;
    }
    if (main && std::find(pendingEdits_.begin(), pendingEdits_.end(), &p) == pendingEdits_.end())
        pendingEdits_.push_back(&p);
    if (actionDepth_ == 0) flushPluginEdits();
    return kOfxStatOK;
}

void OfxKind::flushPluginEdits() {
    if (flushing_ || !instance_) return;
    flushing_ = true;
    // An effect answering its own edits with more edits is stopped after a generous number of rounds.
    for (int round = 0; round < 64 && !pendingEdits_.empty(); ++round) {
        std::vector<ParamObject*> edits;
        edits.swap(pendingEdits_);
        PropertySet reason;
        reason.defineString(kOfxPropChangeReason, {kOfxChangePluginEdited});
        call(kOfxActionBeginInstanceChanged, instance_.get(), &reason, nullptr);
        for (ParamObject* p : edits) {
            mirrorToPanel(*p);
            changed(*instance_, kOfxTypeParameter, p->name, kOfxChangePluginEdited, currentTime());
        }
        call(kOfxActionEndInstanceChanged, instance_.get(), &reason, nullptr);
        frameCache_.clear();
    }
    pendingEdits_.clear();
    applyEnabled();
    flushing_ = false;
}

std::vector<double> OfxKind::keyTimes(const ParamObject& p) const {
    std::set<int> frames;
    for (int number : p.controls)
        if (const Curve* c = curveOf(number))
            for (const auto& k : c->keys()) frames.insert(k.first);
    return std::vector<double>(frames.begin(), frames.end());
}

OfxStatus OfxKind::deleteKey(ParamObject& p, double time, bool all) {
    bool removed = false;
    for (int number : p.controls) {
        const Curve* c = curveOf(number);
        if (!c) continue;
        Curve& curve = host_.curve(1, number);
        if (all) {
            removed = true;
            curve = Curve();
        } else {
            removed = curve.removeKey(int(std::lround(time))) || removed;
        }
    }
    if (!all && !removed) return kOfxStatErrBadIndex;
    if (instance_ && p.set == &instance_->params && std::find(pendingEdits_.begin(), pendingEdits_.end(), &p) ==
                                                         pendingEdits_.end())
        pendingEdits_.push_back(&p);
    if (actionDepth_ == 0) flushPluginEdits();
    return kOfxStatOK;
}

void OfxKind::placeHostEvents() {
    // Each event is the button pressed at its frame; the effect keeps it from then on (and a
    // setup saved afterwards carries it in the effect's parameters), so the host lets go of it.
    std::vector<ShotEvent> events = host_.events();
    if (events.empty() || !panel_) return;
    int frame = host_.currentFrame();
    for (const ShotEvent& e : events) {
        const Control* button = panel_->findRecord(e.record);
        if (!button || button->kind != ControlKind::Push) continue;
        host_.setCurrentFrame(e.frame);
        controlChanged(*button, 1);
    }
    host_.setCurrentFrame(frame);
    host_.clearEvents();
}

}  // namespace ofx
}  // namespace sparkhost
