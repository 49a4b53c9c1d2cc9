#include "page/page_job.h"

#include "base/errors.h"
#include "colour/icc_builder.h"

#include <charconv>
#include <fmt/format.h>
#include <lumo/qva.h>
#include <string_view>

namespace qva {

namespace {

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

void WriteShare(JsonWriter& json, const PageJob& job)
{
    json.Add("qvaShare", job.share.number);
    json.Add("of", job.share.count);
    json.OpenObject("page");
    WriteJob(json, job);
    json.Close();
}

/// A digest of all metadata; results without any say nothing about it.
std::string MetadataDigest(const Metadata& metadata)
{
    std::string text;
    for (const auto* part : {&metadata.exif, &metadata.xmp, &metadata.iptc}) {
        text += part->empty() ? "" : fmt::format("{:016x}", DigestOf(*part));
    }
    return text;
}

/// Bytes as hexadecimal digits.
void AddBytes(JsonWriter& json, const char* name, const std::vector<unsigned char>& bytes)
{
    if (!bytes.empty()) {
        json.Add(name, fmt::format("{:02x}", fmt::join(bytes, "")));
    }
}

/// What AddBytes wrote; empty where it wrote nothing, or the digits are none.
std::vector<unsigned char> BytesOf(const JsonMembers& members, std::string_view name)
{
    const std::string value = ValueOf(members, name).value_or("\"\"");
    std::vector<unsigned char> bytes;
    // Between the quotes.
    for (std::size_t i = 1; i + 2 < value.size(); i += 2) {
        unsigned char byte = 0;
        const char* digits = value.data() + i;
        if (std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) {
            return {};
        }
        bytes.push_back(byte);
    }
    return bytes;
}

/// @return -1 where there is no such member, or it is no whole number.
std::int64_t NumberOf(const JsonMembers& members, std::string_view name)
{
    const std::string text = ValueOf(members, name).value_or("");
    std::int64_t number = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

BandPlan PlanOf(const JsonMembers& members)
{
    BandPlan plan;
    plan.page = {NumberOf(members, "page.width"), NumberOf(members, "page.height")};
    plan.direction = ValueOf(members, "page.direction") == JsonWriter::Scalar("rows")
                         ? Direction::Rows
                         : Direction::Columns;
    plan.margin = NumberOf(members, "page.margin");
    plan.bandLines = NumberOf(members, "page.bandLines");
    plan.stripLines = NumberOf(members, "page.stripLines");
    return plan;
}

/// What JobText made, of what ShareText made of it.
std::string JobOf(const JsonMembers& members)
{
    constexpr std::string_view prefix = "page.";
    std::string text;
    for (const auto& [name, value] : members) {
        if (name.starts_with(prefix)) {
            text += text.empty() ? "{" : ",";
            text += JsonWriter::Scalar(name.substr(prefix.size()));
            text += ':';
            text += value;
        }
    }
    return text.empty() ? "{}" : text + '}';
}

/// Whether the metadata are those that the job was begun with.
bool HasItsMetadata(const ShareRecord& record, const JsonMembers& members)
{
    const std::string digest = MetadataDigest(record.metadata);
    return ValueOf(members, "page.metadata").value_or("\"\"") == JsonWriter::Scalar(digest);
}

bool IsSound(const ShareRecord& record)
{
    constexpr std::int64_t longest = 0x7fffffff;
    const BandPlan& plan = record.plan;
    const auto isSide = [](std::int64_t side) { return side >= 1 && side <= longest; };
    return plan.margin >= 0 && isSide(plan.page.width) && isSide(plan.page.height) &&
           isSide(plan.bandLines) && isSide(plan.stripLines) && isSide(record.share.count) &&
           record.share.number >= 1 && record.share.number <= record.share.count &&
           record.share.count <= plan.Bands();
}

} // namespace

void WriteJob(JsonWriter& json, const PageJob& job)
{
    json.Add("version", QVA_VERSION_STRING);
    json.Add("width", job.plan.page.width);
    json.Add("height", job.plan.page.height);
    json.Add("direction", NameOf(job.plan.direction));
    json.Add("margin", job.plan.margin);
    json.Add("bandLines", job.plan.bandLines);
    json.Add("stripLines", job.plan.stripLines);
    json.Add("exposure", job.light.exposure);
    json.Add("repair", job.light.repairs);
    json.Add("colourFit", job.light.fitsColour);
    json.Add("rims", job.light.mixesRims);
    json.Add("shoulder", job.light.shoulderEnd);
    json.Add("luminanceMin", job.range.bottom);
    json.Add("luminanceMax", job.range.top);
    json.Add("threshold", job.render.threshold);
    json.Add("paperWhite", job.render.paperWhite);
    json.Add("intent", job.render.saturation ? "saturation" : "relative");
    json.Add("blackPointCompensation", job.render.blackPointCompensation);
    json.Add("profile", fmt::format("{:016x}", job.profileDigest));
    json.Add("compression", NameOf(job.write.compression));
    json.Add("dpi", job.write.dpi);
    if (const std::string digest = MetadataDigest(job.write.metadata); !digest.empty()) {
        json.Add("metadata", digest);
    }
    json.Add("picture", fmt::format("{:016x}", job.pageDigest));
}

std::string JobText(const PageJob& job)
{
    JsonWriter json(false);
    json.OpenObject();
    WriteJob(json, job);
    json.Close();
    return json.Text();
}

std::string ShareText(const PageJob& job)
{
    JsonWriter json(false);
    json.OpenObject();
    WriteShare(json, job);
    json.Close();
    return json.Text();
}

std::string ShareText(const PageJob& job, std::uint32_t checksum)
{
    JsonWriter json(false);
    json.OpenObject();
    WriteShare(json, job);
    json.Add("crc32", checksum);
    AddBytes(json, "exif", job.write.metadata.exif);
    AddBytes(json, "xmp", job.write.metadata.xmp);
    AddBytes(json, "iptc", job.write.metadata.iptc);
    json.Close();
    return json.Text();
}

ShareRecord ParseShare(const std::string& text, const std::string& name)
{
    if (const std::optional<JsonMembers> members = ReadJsonMembers(text)) {
        ShareRecord record;
        record.share = {NumberOf(*members, "qvaShare"), NumberOf(*members, "of")};
        record.plan = PlanOf(*members);
        record.job = JobOf(*members);
        const std::int64_t checksum = NumberOf(*members, "crc32");
        record.checksum = static_cast<std::uint32_t>(checksum);
        record.metadata = {BytesOf(*members, "exif"), BytesOf(*members, "xmp"),
                           BytesOf(*members, "iptc")};
        if (checksum == std::int64_t{record.checksum} && IsSound(record) &&
            HasItsMetadata(record, *members))
        {
            return record;
        }
    }
    throw Failure(name, "is not a share of a page: 'qva page --band' writes these");
}

std::string DifferenceOf(const std::string& firstJob, const std::string& secondJob)
{
    const JsonMembers first = ReadJsonMembers(firstJob).value_or(JsonMembers());
    const JsonMembers second = ReadJsonMembers(secondJob).value_or(JsonMembers());
    for (const auto& [name, value] : first) {
        const std::optional<std::string> other = ValueOf(second, name);
        if (other != value) {
            return fmt::format("{} is {} and {}", name, value, other.value_or("not stated"));
        }
    }
    for (const auto& [name, value] : second) {
        if (!ValueOf(first, name)) {
            return fmt::format("{} is not stated and {}", name, value);
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
