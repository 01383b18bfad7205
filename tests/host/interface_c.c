/* The binary interface is plain C: a host may be written in it. Compiling this as C11 checks the
 * layouts that the headers assert, as every C++ file does. */
#include "ovrelin/ovrelin.h"

typedef HostServices InterfaceCompiles;
