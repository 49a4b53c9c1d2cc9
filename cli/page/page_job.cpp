#include "page/page_job.h"

#include "base/errors.h"
#include "colour/icc_builder.h"

#include <fmt/format.h>
#include <lumo/qva.h>
#include <nlohmann/json.hpp>

namespace qva {

namespace {

using Json = nlohmann::ordered_json;

const char* NameOf(Direction direction)
{
    return direction == Direction::Rows ? "rows" : "columns";
}

const char* NameOf(Compression compression)
{
    return compression == Compression::None  ? "none"
           : compression == Compression::Lzw ? "lzw"
                                             : "deflate";
}

Json JobJson(const PageJob& job)
{
    return {{"version", QVA_VERSION_STRING},
            {"width", job.plan.page.width},
            {"height", job.plan.page.height},
            {"direction", NameOf(job.plan.direction)},
            {"margin", job.plan.margin},
            {"bandLines", job.plan.bandLines},
            {"stripLines", job.plan.stripLines},
            {"luminanceMin", job.range.bottom},
            {"luminanceMax", job.range.top},
            {"threshold", job.render.threshold},
            {"paperWhite", job.render.paperWhite},
            {"intent", job.render.saturation ? "saturation" : "relative"},
            {"blackPointCompensation", job.render.blackPointCompensation},
            {"profile", fmt::format("{:016x}", job.profileDigest)},
            {"compression", NameOf(job.write.compression)},
            {"dpi", job.write.dpi},
            {"picture", fmt::format("{:016x}", job.pageDigest)}};
}

Json ShareJson(const PageJob& job)
{
    return {{"qvaShare", job.share.number}, {"of", job.share.count}, {"page", JobJson(job)}};
}

BandPlan PlanOf(const Json& job)
{
    BandPlan plan;
    plan.page = {job.at("width"), job.at("height")};
    plan.direction = job.at("direction") == "rows" ? Direction::Rows : Direction::Columns;
    plan.margin = job.at("margin");
    plan.bandLines = job.at("bandLines");
    plan.stripLines = job.at("stripLines");
    return plan;
}

bool IsSound(const ShareRecord& record)
{
    constexpr std::int64_t longest = 0x7fffffff;
    const BandPlan& plan = record.plan;
    const auto isSide = [](std::int64_t side) { return side >= 1 && side <= longest; };
    return isSide(plan.page.width) && isSide(plan.page.height) && isSide(plan.bandLines) &&
           isSide(plan.stripLines) && isSide(record.share.count) && record.share.number >= 1 &&
           record.share.number <= record.share.count && record.share.count <= plan.Bands();
}

} // namespace

std::uint64_t DigestOf(const std::vector<unsigned char>& bytes)
{
    // FNV-1a, 64 bits.
    std::uint64_t digest = 0xcbf29ce484222325u;
    for (const unsigned char byte : bytes) {
        digest = (digest ^ byte) * 0x100000001b3u;
    }
    return digest;
}

std::string JobText(const PageJob& job)
{
    return JobJson(job).dump();
}

std::string ShareText(const PageJob& job)
{
    return ShareJson(job).dump();
}

std::string ShareText(const PageJob& job, std::uint32_t checksum)
{
    Json json = ShareJson(job);
    json["crc32"] = checksum;
    return json.dump();
}

ShareRecord ParseShare(const std::string& text, const std::string& name)
{
    try {
        const Json json = Json::parse(text);
        ShareRecord record;
        record.share = {json.at("qvaShare"), json.at("of")};
        record.plan = PlanOf(json.at("page"));
        record.job = json.at("page").dump();
        record.checksum = json.at("crc32");
        if (IsSound(record)) {
            return record;
        }
    } catch (const nlohmann::json::exception&) {
        // Not ours, or damaged: the same to the user.
    }
    throw Failure(name, "is not a share of a page: 'qva page --band' writes these");
}

std::string DifferenceOf(const std::string& firstJob, const std::string& secondJob)
{
    const Json first = Json::parse(firstJob);
    const Json second = Json::parse(secondJob);
    for (const auto& [key, value] : first.items()) {
        if (!second.contains(key) || second[key] != value) {
            return fmt::format("{} is {} and {}", key, value.dump(),
                               second.contains(key) ? second[key].dump() : "not stated");
        }
    }
    return "nothing";
}

TiffPage StripsOf(const BandPlan& plan, const LineRun& lines, const WriteSettings& settings)
{
    constexpr int topLeft = 1;
    // The first line is the page's left column, its first pixel the top.
    constexpr int leftTop = 5;
    TiffPage page;
    page.layout = {plan.LineLength(), lines.count, plan.stripLines};
    page.settings = settings;
    page.profile = RenderedProfile();
    page.orientation = plan.direction == Direction::Rows ? topLeft : leftTop;
    return page;
}

} // namespace qva
