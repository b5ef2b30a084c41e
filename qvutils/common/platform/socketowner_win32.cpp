#include "qvutils/common/platform/socket.h"
#include "qvutils/common/platform/socketaddress.h"
