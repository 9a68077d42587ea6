#include "output/JSONWriter.h"
#include "output/Missing.h"  // names no header
