// The plug-in's own console output, kept apart from sparkhost's results. A plug-in prints to the
// process's standard output (a start-up banner on every initialisation, notes as it works); that
// output is taken through a pipe and shown on standard error, each line marked with the plug-in's
// name and shown once however often it is printed (a viewer initialises the plug-in again on every
// replay), or not at all when quiet. Standard output is left to sparkhost's own results.
#ifndef SPARKHOST_LIB_PLUGINCONSOLE_H
#define SPARKHOST_LIB_PLUGINCONSOLE_H

#include <cstdio>
#include <string>

namespace sparkhost {

// Starts taking the console output; `name` marks its lines ("vesk.spark"). Once per process.
void startPluginConsole(const std::string& name, bool quiet);
// Shows what is still in the pipe and gives standard output back.
void stopPluginConsole();

// Where sparkhost prints its own results: the real standard output (std::cout is redirected
// there as well).
std::FILE* resultsOutput();

}  // namespace sparkhost

#endif
