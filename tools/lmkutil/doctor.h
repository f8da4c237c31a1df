// "doctor": what the library sees on this machine.
#ifndef LMKUTIL_DOCTOR_H
#define LMKUTIL_DOCTOR_H

#include "tools/lmkutil/commands.h"

namespace lmkutil {

// Writes versions, places, the language and why, the environment variables of the library with their effects,
// the strings files of the installation, and what is wrong with any of them. kFoundWrong when something is.
ExitStatus Doctor(const Resources& resources);

}  // namespace lmkutil

#endif
