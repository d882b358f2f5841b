#pragma once
// The handlers of all resources. Each is described in doc/openapi.yaml.

#include "api/answer.h"
#include "api/request.h"

namespace vexo::api {

// overview.cpp
Answer Overview(Request &request);

} // namespace vexo::api
