#include "batch/batch_plan.h"

#include "base/errors.h"
#include "base/output_file.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace qva {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* profileOption = "--profile=";

std::string Absolute(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.string();
}

} // namespace

void Save(const BatchPlan& plan, const std::string& path)
{
    Json json;
    json["name"] = plan.names.name;
    json["sideBySide"] = plan.names.sideBySide;
    json["words"] = Json::array();
    for (const std::string& word : plan.words) {
        json["words"].push_back(word.starts_with(profileOption)
                                    ? profileOption +
                                          Absolute(word.substr(std::string(profileOption).size()))
                                    : word);
    }
    json["photos"] = Json::array();
    for (const std::string& photo : plan.photos) {
        json["photos"].push_back(Absolute(photo));
    }
    const std::string text = json.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
    OutputFile file(path);
    const Descriptor out = file.Duplicate();
    if (write(out.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw Failure(path, WriteReason(errno), exitOutput);
    }
    file.Commit();
}

BatchPlan LoadPlan(const std::string& path)
{
    std::ifstream file(path);
    const Json json = Json::parse(file, nullptr, false);
    BatchPlan plan;
    try {
        plan.names.name = json.at("name");
        plan.names.sideBySide = json.at("sideBySide");
        plan.words = json.at("words").get<std::vector<std::string>>();
        plan.photos = json.at("photos").get<std::vector<std::string>>();
    } catch (const Json::exception&) {
        throw Failure(path, "there is no batch to go on with: name its pictures");
    }
    return plan;
}

} // namespace qva
