#pragma once
#include "vexo/web.h"

/// "saveplsname": gives a playlist a new name.
void HandleSavePlsName(WebMan &request);
