#include "proof/report_page.h"

#include "base/markup.h"
#include "proof/report_style.h"
#include "proof/view_pictures.h"

#include <algorithm>
#include <fmt/format.h>
#include <new>
#include <png.h>

namespace qva {

namespace {

std::vector<unsigned char> PngBytes(const ReportPicture& picture)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.size.width);
    image.height = static_cast<png_uint_32>(picture.size.height);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<unsigned char> bytes(size);
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.rgb.data(), 0, nullptr) ==
        0) {
        throw std::bad_alloc();
    }
    bytes.resize(size);
    return bytes;
}

std::string Image(const ReportPicture& picture, const char* kind, const std::string& text)
{
    return fmt::format(
        "<img class=\"{}\" width=\"{}\" height=\"{}\" alt=\"{}\" draggable=\"false\" "
        "src=\"data:image/png;base64,{}\">\n",
        kind, picture.size.width, picture.size.height, EscapeMarkup(text),
        Base64(PngBytes(picture)));
}

std::string Table(const std::string& title, const ReportRows& rows)
{
    std::string text = fmt::format("<h2>{}</h2>\n<table>\n", EscapeMarkup(title));
    for (const auto& [label, value] : rows) {
        text += fmt::format("<tr><th scope=\"row\">{}</th><td>{}</td></tr>\n", EscapeMarkup(label),
                            EscapeMarkup(value));
    }
    return text + "</table>\n";
}

std::string Compare(const ReportContent& content)
{
    const ImageSize size = content.after.size;
    // A tall picture still fits a wide window.
    return fmt::format("<h2>Before and after</h2>\n<figure style=\"max-width:calc(85vh*{}/{})\">\n"
                       "<div class=\"compare\">\n",
                       size.width, size.height) +
           Image(content.before, "before", "The photograph, cut at paper white") +
           Image(content.after, "after", "The print") +
           "</div>\n<input id=\"slider\" type=\"range\" min=\"0\" max=\"100\" value=\"50\" "
           "aria-label=\"Share of the picture that shows the cut photograph\">\n"
           "<figcaption>Left: what is left when all light above paper white is cut. Right: the "
           "print. Drag, or move the slider with the arrow keys.</figcaption>\n</figure>\n";
}

std::string GamutTable(const ProofFigures& figures)
{
    std::string text = "<table class=\"steps\">\n<tr><th scope=\"col\">&Delta;E 2000 above</th>"
                       "<th scope=\"col\">of the pixels</th></tr>\n";
    for (std::size_t step = 0; step < deltaESteps.size(); ++step) {
        const Rgb8& colour = stepColours[step];
        text += fmt::format(
            "<tr><td><span class=\"chip\" style=\"background:rgb({},{},{})\"></span>{:.0f}</td>"
            "<td>{:.1f} %</td></tr>\n",
            colour[0], colour[1], colour[2], deltaESteps[step], figures.PercentAbove(step));
    }
    return text + "</table>\n";
}

std::string Proofs(const ReportContent& content)
{
    return "<h2>On paper</h2>\n<div class=\"pair\">\n<figure>\n" +
           Image(content.proof, "proof", "The print as it will look on its paper") +
           "<figcaption>As it will look, with the white of the paper and the black of the "
           "ink.</figcaption>\n</figure>\n<figure>\n" +
           Image(content.gamutMap, "map", "Where the paper differs from what was asked") +
           "<figcaption>Coloured where paper and ink cannot give what was asked.</figcaption>\n"
           "</figure>\n</div>\n" +
           GamutTable(content.figures);
}

constexpr double chartWidth = 600.0;
constexpr double chartHeight = 180.0;
constexpr double chartFoot = 20.0;

std::string Line(const LightCurve& curve, double most, const char* colour, const char* name)
{
    std::string points;
    for (std::size_t bin = 0; bin < LightCurve::bins; ++bin) {
        const double x = (static_cast<double>(bin) + 0.5) * chartWidth / LightCurve::bins;
        const double y = chartHeight * (1.0 - curve.PercentIn(bin) / most);
        points += fmt::format("{:.1f},{:.1f} ", x, y);
    }
    return fmt::format("<polyline fill=\"none\" stroke=\"var(--{})\" stroke-width=\"2\" "
                       "points=\"{}\"><title>{}</title></polyline>\n",
                       colour, points, name);
}

std::string Chart(const ReportContent& content)
{
    double most = 1.0;
    for (const LightCurve* curve : {&content.scene, &content.result, &content.paper}) {
        for (std::size_t bin = 0; bin < LightCurve::bins; ++bin) {
            most = std::max(most, curve->PercentIn(bin));
        }
    }
    std::string text =
        fmt::format("<h2>Light</h2>\n<figure>\n<svg viewBox=\"0 0 {0} {1}\" role=\"img\" "
                    "aria-label=\"How the light of scene, print and paper is spread, in cd/m²\">\n",
                    chartWidth, chartHeight + chartFoot);
    const char* labels[] = {"0.01", "0.1", "1", "10", "100", "1000", "10000"};
    for (std::size_t i = 0; i < 7; ++i) {
        const double x = static_cast<double>(i) * chartWidth / 6.0;
        const char* anchor = i == 0 ? "start" : i == 6 ? "end" : "middle";
        text += fmt::format("<line x1=\"{0}\" x2=\"{0}\" y1=\"0\" y2=\"{1}\" "
                            "stroke=\"var(--line)\"/><text x=\"{0}\" y=\"{2}\" "
                            "text-anchor=\"{3}\">{4}</text>\n",
                            x, chartHeight, chartHeight + 14.0, anchor, labels[i]);
    }
    return text + Line(content.scene, most, "scene", "Scene") +
           Line(content.result, most, "print", "Print") +
           Line(content.paper, most, "paper", "Paper") +
           "</svg>\n<figcaption><span style=\"color:var(--scene)\">Scene</span>, "
           "<span style=\"color:var(--print)\">print</span> and "
           "<span style=\"color:var(--paper)\">paper</span>: share of the pixels by luminance in "
           "cd/m².</figcaption>\n</figure>\n";
}

std::string Remarks(const std::vector<std::string>& remarks)
{
    std::string text = "<h2>Remarks</h2>\n<ul>\n";
    for (const std::string& remark : remarks) {
        text += fmt::format("<li>{}</li>\n", EscapeMarkup(remark));
    }
    return remarks.empty() ? "<h2>Remarks</h2>\n<p>None.</p>\n" : text + "</ul>\n";
}

} // namespace

std::string Base64(const std::vector<unsigned char>& bytes)
{
    // RFC 4648, table 1.
    constexpr const char* letters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (i + k < bytes.size() ? bytes[i + k] : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            const bool isThere = i + k <= bytes.size();
            text += isThere ? letters[bits >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::string ReportHtml(const ReportContent& content)
{
    const std::string title = EscapeMarkup(content.title);
    return fmt::format("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<link rel=\"icon\" href=\"data:,\">\n"
                       "<title>{0}</title>\n<style>{1}</style>\n</head>\n<body>\n<main>\n"
                       "<h1>{0}</h1>\n",
                       title, reportStyle) +
           Compare(content) + Proofs(content) + Chart(content) +
           Table("Found and chosen", content.found) + Table("Proof", content.proofed) +
           Remarks(content.remarks) +
           fmt::format("</main>\n<script>{}</script>\n</body>\n</html>\n", reportScript);
}

} // namespace qva
