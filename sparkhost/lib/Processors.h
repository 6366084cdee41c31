// The processor count a plug-in is told. A plug-in that sizes its work from the machine (render
// layers, bands) would draw different frames on different machines; sparkhost answers the
// processor query itself with the current host's count, so the frames depend on the host's
// settings only.
#ifndef SPARKHOST_LIB_PROCESSORS_H
#define SPARKHOST_LIB_PROCESSORS_H

namespace sparkhost {

// What sparkhost answers when no other count is chosen: 4, the most render layers Vesk uses.
constexpr int kDefaultProcessorAnswer = 4;

// The processors this process may really run on (its affinity mask), at least 1. This is the
// count to size thread teams with; get_nprocs() gives the plug-ins' answer instead.
int machineProcessors();

// Sets the count get_nprocs() and get_nprocs_conf() return from now on.
void setProcessorAnswer(int count);
int processorAnswer();

}  // namespace sparkhost

#endif
