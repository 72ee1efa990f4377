#include "shell/Host.h"
// Host is an interface; this file gives its vtable a home.
