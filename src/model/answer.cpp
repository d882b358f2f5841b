#include "model/answer.h"

#include "vexo/web.h"

bool SystemError(Json::Value &response, int line) {
  ActionHandler::SetError(response, "common", "error_system", line);
  return false;
}

bool NameTooLong(Json::Value &response, int line) {
  ActionHandler::SetError(response, "playlist", "playlist_name_too_long", line);
  return false;
}

bool NameExists(Json::Value &response, int line) {
  ActionHandler::SetError(response, "playlist", "playlist_name_exist", line);
  return false;
}

void PrintAnswer(const Json::Value &response) {
  ActionHandler::PrintResponse(response, "text/plain; charset=\"UTF-8\"");
}
