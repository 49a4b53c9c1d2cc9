#include "command/json_output.h"

#include "base/errors.h"
#include "base/pipe_ends.h"

#include <fmt/format.h>

namespace qva {

void BeginOutput(JsonWriter& json, std::string_view command, std::string_view status)
{
    json.OpenObject();
    json.Add("schema", outputVersion);
    json.Add("command", std::string(command));
    json.Add("status", std::string(status));
}

void AddRemarks(JsonWriter& json, const std::vector<std::string>& remarks)
{
    json.OpenArray("remarks");
    for (const std::string& remark : remarks) {
        json.Add({}, remark);
    }
    json.Close();
}

void EndOutput(JsonWriter& json)
{
    json.Close();
    fmt::print("{}\n", ForPeople(json.Text()));
}

void PrintFailure(std::string_view command, int exitCode, const std::string& message)
{
    JsonWriter json(true);
    BeginOutput(json, command, statusFailed);
    json.OpenObject("error");
    json.Add("exitCode", exitCode);
    json.Add("message", OneLine(message));
    json.Close();
    EndOutput(json);
}

} // namespace qva
