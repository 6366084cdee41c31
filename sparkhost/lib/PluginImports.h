// What a plug-in file asks of its host, read from the file before it is loaded. dlopen reports
// only the first symbol it cannot bind; reading the dynamic symbol table lets the host name every
// host function the plug-in needs and this host lacks, and refuse files that cannot be plug-ins
// for this machine at all.
#ifndef SPARKHOST_LIB_PLUGINIMPORTS_H
#define SPARKHOST_LIB_PLUGINIMPORTS_H

#include <string>
#include <vector>

namespace sparkhost {

// The undefined, non-weak symbols of an x86-64 ELF shared object whose names start with prefix.
// Fails with a reason (no file name) for anything that is not such an object.
bool importedSymbols(const std::string& path, const std::string& prefix, std::vector<std::string>* names,
                     std::string* error);

// The spark… functions the plug-in imports that this process does not export, in the file's order.
bool missingHostFunctions(const std::string& path, std::vector<std::string>* missing, std::string* error);

}  // namespace sparkhost

#endif
