#include "CoreExport.h"
