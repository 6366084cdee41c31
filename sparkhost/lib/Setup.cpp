#include "sparkhost/lib/Setup.h"

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Panel.h"
#include "sparkhost/lib/SafeFile.h"
#include "sparkhost/lib/ShotEvents.h"
#include "sparkhost/lib/ValueText.h"

namespace sparkhost {

namespace {

// Marks a value the plug-in stored outside its control's range.
const std::string kStoredWord = "stored ";

}  // namespace

bool writeSetup(const Panel& panel, const Host& host, const std::string& path, std::string* error) {
    std::ostringstream out;
    out << "# sparkhost setup\n";
    for (const auto& c : panel.controls()) {
        if (c.kind == ControlKind::Push) continue;
        // Only the plug-in can have put a value outside the range into a record (every value a
        // person gives is checked): the line says so, and reads back as it was.
        std::string problem = panel.recordProblem(c);
        if (!problem.empty()) out << kStoredWord;
        out << c.record << " = " << panel.rawValue(c);
        // Text values run to the end of the line, so only the other kinds carry a comment.
        if (c.kind != ControlKind::String) {
            std::string label = panel.name(c);
            if (label.empty()) label = host.controlName(Panel::channelType(c), c.number);
            if (!problem.empty()) label += (label.empty() ? "" : ": ") + std::string("as the plug-in stored it, ") + problem;
            if (!label.empty()) out << "  # " << label;
        }
        out << "\n";
    }
    for (const auto& entry : host.curves()) {
        const Control* c = panel.channel(entry.first.first, entry.first.second);
        if (!c) continue;
        for (const auto& key : entry.second.keys()) {
            char value[64];
            std::snprintf(value, sizeof value, "%.9g", double(key.second));
            out << "key " << c->record << " " << key.first << " " << value << "\n";
        }
    }
    if (host.shotStart() >= 0) out << "shot-start " << host.shotStart() << "\n";
    for (const auto& event : host.events()) out << eventLine(panel, event) << "\n";
    std::string text = out.str(), why;
    if (!replaceFile(path, text.data(), text.size(), &why)) {
        if (error) *error = "cannot write setup file '" + path + "': " + why;
        return false;
    }
    return true;
}

bool readSetup(const Panel& panel, Host& host, const std::string& path, std::string* error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        if (error) *error = "cannot read setup file '" + path + "'";
        return false;
    }
    host.clearCurves();
    host.clearEvents();
    std::string line;
    int lineNo = 0;
    auto bad = [&](const std::string& why) {
        if (error) *error = path + ":" + std::to_string(lineNo) + ": " + why;
        return false;
    };
    while (std::getline(file, line)) {
        ++lineNo;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::string t = trim(line);
        if (t.empty() || t[0] == '#') continue;
        if (t.compare(0, 4, "key ") == 0) {
            std::istringstream in(t.substr(4));
            std::string record, frameText, valueText, extra;
            long frame = 0;
            double value = 0;
            if (!(in >> record >> frameText >> valueText) || (in >> extra))
                return bad("a key needs a record, a frame and a value");
            if (!parseLong(frameText, &frame) || frame < INT_MIN || frame > INT_MAX)
                return bad("the key's frame '" + frameText + "' is not a whole number");
            if (!parseDouble(valueText, &value) || std::fabs(value) > FLT_MAX)
                return bad("the key's value '" + valueText + "' is not a number");
            const Control* c = panel.findRecord(record);
            if (!c || !panel.isNumeric(*c)) {
                host.report(HostMessage::Note, path + ": skipping keys of '" + record +
                                                   "', which this plug-in cannot animate");
                continue;
            }
            // Checked as the curve holds it, in single precision, so that a saved key reads back.
            std::string why = panel.numberProblem(*c, double(float(value)));
            if (!why.empty()) return bad(panel.shownName(*c) + ": key value " + valueText + " " + why);
            Curve& curve = host.curve(Panel::channelType(*c), c->number);
            if (curve.keys().count(int(frame)))
                return bad(panel.shownName(*c) + " has a second key at frame " + frameText);
            curve.setKey(int(frame), float(value));
            continue;
        }
        if (t.compare(0, 6, "event ") == 0) {
            std::string words = t.substr(6);
            size_t hash = words.find('#');
            if (hash != std::string::npos) words = words.substr(0, hash);
            ShotEvent event;
            std::string why;
            if (!parseEventRecord(panel, words, &event, &why)) return bad(why);
            host.addEvent(event);
            continue;
        }
        if (t.compare(0, 11, "shot-start ") == 0) {
            std::istringstream in(t.substr(11));
            int frame;
            std::string extra;
            if (!(in >> frame) || frame < 0 || (in >> extra))
                return bad("'shot-start' needs one frame number from 0 up");
            host.setShotStart(frame);
            continue;
        }
        bool stored = t.compare(0, kStoredWord.size(), kStoredWord) == 0;
        if (stored) line = t.substr(kStoredWord.size());
        size_t eq = line.find(" = ");
        if (eq == std::string::npos) return bad("expected 'record = value'");
        std::string record = trim(line.substr(0, eq));
        std::string value = line.substr(eq + 3);
        const Control* c = panel.findRecord(record);
        if (!c) {
            host.report(HostMessage::Note,
                        path + ": skipping '" + record + "', which this plug-in does not have");
            continue;
        }
        if (c->kind != ControlKind::String) {
            size_t hash = value.find('#');
            if (hash != std::string::npos) value = value.substr(0, hash);
            value = trim(value);
        }
        std::string why;
        std::vector<unsigned char> before(static_cast<unsigned char*>(c->address),
                                          static_cast<unsigned char*>(c->address) + recordSize(c->kind));
        if (!panel.setRawValue(*c, value, &why)) return bad(why);
        why = panel.recordProblem(*c);
        if (!stored && !why.empty()) {
            std::copy(before.begin(), before.end(), static_cast<unsigned char*>(c->address));
            return bad(panel.shownName(*c) + ": " + why);
        }
    }
    return true;
}

}  // namespace sparkhost
