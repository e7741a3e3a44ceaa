#include "SnippetsTest.h"
