#pragma once
// The handlers of all resources. Each is described in doc/openapi.yaml.

#include "api/answer.h"
#include "api/request.h"

namespace vexo::api {

// overview.cpp
Answer Overview(Request &request);

// session.cpp
Answer LogIn(Request &request);
Answer WhoAmI(Request &request);
Answer LogOut(Request &request);
Answer ChangePassword(Request &request);

} // namespace vexo::api
