#ifndef KSR_TOOLS_MODEL_LOOKUP_H
#define KSR_TOOLS_MODEL_LOOKUP_H

#include <string>

// Which acoustic model a host program hands the module: `fromCommandLine`
// (--model) when given, else $KALO_ACOUSTIC_MODEL_PATH, else the model that
// ships with the sources (data/model/en-us-synth). The folder is checked
// here, so that the message names it, and then given to the module through
// KALO_ACOUSTIC_MODEL_PATH, where K_VoskInterface looks first.
// False with `error` set when it is no model folder.
bool selectModel(const std::string& fromCommandLine, std::string& model, std::string& error);

#endif
