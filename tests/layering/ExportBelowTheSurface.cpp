// Must not compile: the surface stands below the exports and sees none of their headers.
#include "export/SLPExports.h"
