// The version of the interface these headers declare, for checks at compile
// time: macros only, so it adds nothing to the library's exported symbols.
//
// The build refuses to configure when these numbers differ from the
// project's version, so the headers and the library always agree.
#ifndef ZUPLATFORM_VERSION_H
#define ZUPLATFORM_VERSION_H

#define ZUPLATFORM_VERSION_MAJOR 6
#define ZUPLATFORM_VERSION_MINOR 7
#define ZUPLATFORM_VERSION_PATCH 0
#define ZUPLATFORM_VERSION_STRING "6.7.0"

#endif  // ZUPLATFORM_VERSION_H
