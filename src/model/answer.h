#pragma once
// How an action answers: the errors that it can give, and the one document that it prints.

#include <json/json.h>

/// Marks the response as failed for a reason that is in the system log. Returns false, for the step
/// that has failed to return; so do the others. `line` is that of the caller.
bool SystemError(Json::Value &response, int line = __builtin_LINE());

/// Refuses a name of more than 250 bytes.
bool NameTooLong(Json::Value &response, int line = __builtin_LINE());

/// Refuses a name that is taken.
bool NameExists(Json::Value &response, int line = __builtin_LINE());

/// Prints the action's document.
void PrintAnswer(const Json::Value &response);
