#include "report.h"

#include "console.h"

namespace brisk::tool {

void Report::Print(const Json& object) const {
  // Names of files may hold any bytes; what is no UTF-8 is replaced.
  Put(out, object.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

int Report::Tell(const Outcome& outcome) const {
  return std::visit([this](const auto& told) { return Tell(told); }, outcome);
}

int Report::Tell(const Reply& reply) const {
  if (!json) {
    Put(out, reply.text);
    return kExitDone;
  }
  Json object = {{"command", command}, {"ok", true}, {"exitCode", kExitDone}};
  object.update(reply.data);
  if (!warnings.empty()) object["warnings"] = warnings;
  Print(object);
  return kExitDone;
}

int Report::Tell(const Failure& failure) const {
  if (!json) {
    std::string text = "brisk: could not " + failure.tried + "\n  what came back: " + failure.got +
                       "\n  check next: " + failure.check + "\n";
    for (const std::string& line : libraryLines) text += "  library: " + line + "\n";
    Put(err, text);
    return failure.exitCode;
  }
  Json object = {{"command", command}, {"ok", false}, {"exitCode", failure.exitCode}};
  object["error"] = {{"tried", failure.tried}, {"got", failure.got}, {"check", failure.check}};
  object.update(failure.data);
  if (!warnings.empty()) object["warnings"] = warnings;
  if (!libraryLines.empty()) object["library"] = libraryLines;
  Print(object);
  return failure.exitCode;
}

}  // namespace brisk::tool
