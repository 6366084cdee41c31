#include "sparkhost/lib/PluginChoice.h"

#include <cctype>

#include "sparkhost/lib/Host.h"
#include "sparkhost/lib/Names.h"
#include "sparkhost/lib/Plugin.h"

namespace sparkhost {

void applyChoice(const PluginChoice& choice, Plugin& plugin) {
    plugin.setEffectId(choice.effect);
    plugin.setHostMode(choice.hostMode);
}

bool numberClipsByName(const std::string& pluginPath, const PluginChoice& choice, std::vector<std::string>* clips,
                       std::string* error) {
    auto named = [](const std::string& spec) {
        size_t eq = spec.find('=');
        return eq != std::string::npos && eq > 0 && !std::isdigit(static_cast<unsigned char>(spec[0]));
    };
    bool any = false;
    for (const auto& spec : *clips) any = any || named(spec);
    if (!any) return true;
    Host host;
    host.setEcho(false);
    Plugin plugin(host);
    applyChoice(choice, plugin);
    if (!plugin.load(pluginPath, error)) return false;
    std::vector<std::string> names = plugin.clipNames();
    for (auto& spec : *clips) {
        if (!named(spec)) continue;
        std::string name = trim(spec.substr(0, spec.find('=')));
        int number = 0;
        for (size_t i = 0; i < names.size(); ++i)
            if (normaliseName(names[i]) == normaliseName(name)) number = int(i) + 1;
        if (number == 0) {
            std::string list;
            for (size_t i = 0; i < names.size(); ++i)
                list += (i ? ", " : "") + std::to_string(i + 1) + " " + names[i];
            *error = "bad --clip '" + spec + "': the plug-in has no clip named '" + name + "'" +
                     (list.empty() ? " (it names none)" : " (its clips: " + list + ")");
            return false;
        }
        spec = std::to_string(number) + spec.substr(spec.find('='));
    }
    return true;
}

}  // namespace sparkhost
