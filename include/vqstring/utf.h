/* Plain functions on UTF-8, UTF-16 and UTF-32. */
#ifndef VQSTRING_UTF_H
#define VQSTRING_UTF_H

#include "base.h"

#endif
