// The whole interface of libZuPlatform in one include.
#ifndef ZUPLATFORM_ZUPLATFORM_H
#define ZUPLATFORM_ZUPLATFORM_H

#include <ZuPlatform/concurrency.h>
#include <ZuPlatform/data.h>
#include <ZuPlatform/diagnostics.h>
#include <ZuPlatform/filesystem.h>
#include <ZuPlatform/memory.h>
#include <ZuPlatform/paths.h>
#include <ZuPlatform/time.h>
#include <ZuPlatform/version.h>

#endif  // ZUPLATFORM_ZUPLATFORM_H
