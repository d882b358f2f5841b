#pragma once
// How an action answers: the errors that it can give, and the one document that it prints.
//
// An action is made of steps, functions that take the response and return a bool: whether the
// action goes on. False means that the answer is complete.

#include "model/log_line.h"
#include <json/json.h>

/// Marks the response as failed for a reason that is in the system log. Returns false, for the step
/// that has failed to return; so do the others. `line` is that of the caller.
bool SystemError(Json::Value &response, int line = __builtin_LINE());

/// Writes one line to the system log, the message and its arguments as LOG_LINE() takes them, and
/// gives SystemError() for the same source line.
#define LOG_AND_FAIL(response, ...) (LOG_LINE(__VA_ARGS__), SystemError(response))

/// Refuses a name of more than 250 bytes.
bool NameTooLong(Json::Value &response, int line = __builtin_LINE());

/// Refuses a name that is taken.
bool NameExists(Json::Value &response, int line = __builtin_LINE());

/// Prints the action's document.
void PrintAnswer(const Json::Value &response);
