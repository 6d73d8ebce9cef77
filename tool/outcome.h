#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <variant>

namespace brisk::tool {

using Json = nlohmann::ordered_json;

enum ExitCode { kExitDone = 0, kExitFailed = 1, kExitUsage = 2 };

// Why a command did not do its work: what was tried, what came back, what to check next. `data`
// joins the JSON object. Thrown where it is found out, and told by main.
struct Failure {
  ExitCode exitCode = kExitFailed;
  std::string tried;
  std::string got;
  std::string check;
  Json data = Json::object();
};

// What a command found: as text for people (whole lines), as fields for programs.
struct Reply {
  std::string text;
  Json data = Json::object();
};

using Outcome = std::variant<Reply, Failure>;

inline Failure UsageFailure(std::string tried, std::string got, std::string check) {
  return {kExitUsage, std::move(tried), std::move(got), std::move(check), Json::object()};
}

inline Failure OperationFailure(std::string tried, std::string got, std::string check,
                                Json data = Json::object()) {
  return {kExitFailed, std::move(tried), std::move(got), std::move(check), std::move(data)};
}

// Ctrl-C ended the work; `state` continues "stopped by the user".
inline Failure StoppedFailure(std::string tried, const std::string& state) {
  return OperationFailure(std::move(tried), "stopped by the user" + state, "start it again",
                          {{"stopped", true}});
}

}  // namespace brisk::tool
