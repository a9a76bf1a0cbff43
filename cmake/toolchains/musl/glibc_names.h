#pragma once

// What the C++ library's headers, which were configured for glibc, name in passing. Nothing of it is used by the
// library.
#define __GLIBC_PREREQ(MAJOR, MINOR) 0
#define __locale_t locale_t
#define pthread_cond_clockwait(CONDITION, MUTEX, CLOCK, TIME) pthread_cond_timedwait(CONDITION, MUTEX, TIME)
enum {
  _ISupper,
  _ISlower,
  _ISalpha,
  _ISdigit,
  _ISxdigit,
  _ISspace,
  _ISprint,
  _ISgraph,
  _IScntrl,
  _ISpunct,
  _ISalnum,
  _ISblank
};
