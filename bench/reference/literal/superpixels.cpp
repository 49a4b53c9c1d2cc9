#include "literal/superpixels.h"

#include "segmentation/segments_info.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo::literal {
namespace {

constexpr float largest = std::numeric_limits<float>::max();

struct Image {
    int32_t rows, cols;
    std::vector<float> plane[3], edge;
};

struct Centre {
    float c[3], x, y;
};

// What the iterations know of the pixels and of the clusters.
struct Clustering {
    std::vector<float> best, colour, furthest;
    int32_t* label;
};

float Square(float v)
{
    return v * v;
}

// Squared distance of two colours.
float Between(const float* a, const float* b)
{
    return Square(a[0] - b[0]) + Square(a[1] - b[1]) + Square(a[2] - b[2]);
}

// Squared distance of a pixel's colours, `a` and `b` pixels behind pixel i.
float Across(const Image& image, int64_t i, int64_t a, int64_t b)
{
    const auto& p = image.plane;
    const float from[3] = {p[0][i + a], p[1][i + a], p[2][i + a]};
    const float to[3] = {p[0][i + b], p[1][i + b], p[2][i + b]};
    return Between(from, to);
}

template <typename T>
Image MakeImage(const Matrix& src)
{
    Image image = {src.rows, src.cols, {}, {}};
    const int64_t count = int64_t{src.rows} * src.cols;
    for (int64_t k = 0; k < 3; ++k) {
        for (int64_t i = 0; i < count; ++i) {
            image.plane[k].push_back(static_cast<float>(RowOf<T>(src, 0)[3 * i + k]));
        }
    }
    image.edge.assign(count, largest);
    for (int32_t y = 1; y < src.rows - 1; ++y) {
        for (int32_t x = 1; x < src.cols - 1; ++x) {
            const int64_t i = int64_t{y} * src.cols + x;
            image.edge[i] = Across(image, i, -src.cols, src.cols) + Across(image, i, -1, 1);
        }
    }
    return image;
}

Centre CentreAt(const Image& image, int32_t x, int32_t y)
{
    const int64_t i = int64_t{y} * image.cols + x;
    return {{image.plane[0][i], image.plane[1][i], image.plane[2][i]},
            static_cast<float>(x),
            static_cast<float>(y)};
}

std::vector<Centre> PlaceCentres(const Image& image, int32_t request)
{
    const double s = std::sqrt(static_cast<double>(request));
    const int32_t stepX = std::max(1, static_cast<int32_t>(image.cols / s));
    const int32_t stepY = std::max(1, static_cast<int32_t>(image.rows / s));
    std::vector<Centre> centres;
    for (int32_t r = 0; stepY / 2 + r * stepY <= image.rows - 1; ++r) {
        const int32_t first = r % 2 == 0 ? stepX / 2 : stepX / 2 * 2;
        for (int32_t x = first; x <= image.cols - 1; x += stepX) {
            centres.push_back(CentreAt(image, x, stepY / 2 + r * stepY));
        }
    }
    return centres;
}

// Moves every centre to the neighbour with the lowest edge value, if that is below its own.
void MoveCentres(const Image& image, std::vector<Centre>& centres)
{
    constexpr int32_t around[8][2] = {{-1, 0}, {-1, -1}, {0, -1}, {1, -1},
                                      {1, 0},  {1, 1},   {0, 1},  {-1, 1}};
    for (Centre& centre : centres) {
        const auto x = static_cast<int32_t>(centre.x), y = static_cast<int32_t>(centre.y);
        const int64_t own = int64_t{y} * image.cols + x;
        int64_t best = own;
        for (const auto& [dx, dy] : around) {
            const int32_t nx = x + dx, ny = y + dy;
            if (nx < 0 || nx >= image.cols || ny < 0 || ny >= image.rows) {
                continue;
            }
            const int64_t i = int64_t{ny} * image.cols + nx;
            best = image.edge[i] < image.edge[best] ? i : best;
        }
        if (best != own) {
            centre = CentreAt(image, static_cast<int32_t>(best % image.cols),
                              static_cast<int32_t>(best / image.cols));
        }
    }
}

// Offers the pixels of a window around the centre to cluster k.
void Assign(const Image& image, const Centre& centre, int32_t k, float radius, float weight,
            Clustering& all)
{
    const auto y1 = static_cast<int32_t>(std::max(centre.y - radius, 0.0f));
    const auto x1 = static_cast<int32_t>(std::max(centre.x - radius, 0.0f));
    const auto y2 =
        static_cast<int32_t>(std::min(centre.y + radius, static_cast<float>(image.rows - 1)));
    const auto x2 =
        static_cast<int32_t>(std::min(centre.x + radius, static_cast<float>(image.cols - 1)));
    for (int32_t y = y1; y <= y2; ++y) {
        for (int32_t x = x1; x <= x2; ++x) {
            const int64_t i = int64_t{y} * image.cols + x;
            const float colour[3] = {image.plane[0][i], image.plane[1][i], image.plane[2][i]};
            const float dc = Between(colour, centre.c);
            const float ds =
                Square(static_cast<float>(x) - centre.x) + Square(static_cast<float>(y) - centre.y);
            all.colour[i] = dc;
            const float d = dc / all.furthest[k] + ds * weight;
            if (d < all.best[i]) {
                all.best[i] = d;
                all.label[i] = k;
            }
        }
    }
}

// The means of the clusters, of sums in the order of the pixels.
void UpdateCentres(const Image& image, const int32_t* label, std::vector<Centre>& centres)
{
    std::vector<int32_t> count(centres.size(), 0);
    std::fill(centres.begin(), centres.end(), Centre{});
    for (int32_t y = 0; y < image.rows; ++y) {
        for (int32_t x = 0; x < image.cols; ++x) {
            const int64_t i = int64_t{y} * image.cols + x;
            Centre& sum = centres[label[i]];
            for (int32_t k = 0; k < 3; ++k) {
                sum.c[k] += image.plane[k][i];
            }
            sum.x += static_cast<float>(x);
            sum.y += static_cast<float>(y);
            ++count[label[i]];
        }
    }
    for (size_t k = 0; k < centres.size(); ++k) {
        const auto f = static_cast<float>(count[k] < 1 ? 1.0 : 1.0 / count[k]);
        Centre& sum = centres[k];
        sum = {{f * sum.c[0], f * sum.c[1], f * sum.c[2]}, f * sum.x, f * sum.y};
    }
}

void Cluster(const Image& image, double compactness, int32_t iterations, int32_t request,
             std::vector<Centre> centres, int32_t* label)
{
    const size_t count = image.edge.size();
    const auto step = static_cast<int32_t>(std::sqrt(static_cast<double>(count) / request) + 2.0);
    const int32_t radius = step >= 10 ? step : static_cast<int32_t>(step * 1.5);
    const auto weight = static_cast<float>(1.0 / (step * step));
    Clustering all = {
        std::vector<float>(count), std::vector<float>(count, largest),
        std::vector<float>(centres.size(), static_cast<float>(compactness * compactness)), label};
    for (int32_t iteration = 0; iteration < iterations; ++iteration) {
        std::fill(all.best.begin(), all.best.end(), largest);
        for (size_t k = 0; k < centres.size(); ++k) {
            Assign(image, centres[k], static_cast<int32_t>(k), static_cast<float>(radius), weight,
                   all);
        }
        for (size_t i = 0; i < count; ++i) {
            float& furthest = all.furthest[label[i]];
            furthest = all.colour[i] > furthest ? all.colour[i] : furthest;
        }
        UpdateCentres(image, label, centres);
    }
}

// The pixels left of i, above, right and below, those that there are.
template <typename Visit>
void VisitNeighbours(const Matrix& labels, size_t i, Visit&& visit)
{
    constexpr int32_t around[4][2] = {{-1, 0}, {0, -1}, {1, 0}, {0, 1}};
    for (const auto& [dx, dy] : around) {
        const auto x = static_cast<int32_t>(i % labels.cols) + dx;
        const auto y = static_cast<int32_t>(i / labels.cols) + dy;
        if (x >= 0 && x < labels.cols && y >= 0 && y < labels.rows) {
            visit(static_cast<size_t>(int64_t{y} * labels.cols + x));
        }
    }
}

} // namespace

template <typename T>
int32_t Superpixels(const Matrix& src, double compactness, int32_t iterations, int32_t request,
                    Matrix_t<int>& labels)
{
    labels.Create(src.rows, src.cols, D32S);
    const int64_t count = int64_t{src.rows} * src.cols;
    auto* label = RowOf<int32_t>(labels, 0);
    std::fill(label, label + count, 0);
    if (request < 2) {
        return 1;
    }
    const Image image = MakeImage<T>(src);
    std::vector<Centre> centres = PlaceCentres(image, request);
    if (centres.empty()) {
        return 1;
    }
    MoveCentres(image, centres);
    Cluster(image, compactness, iterations, request, centres, label);
    return NumberByFloodFill(labels, (count / request) >> 2);
}

int32_t NumberByFloodFill(Matrix& labels, int64_t limit)
{
    auto* label = RowOf<int32_t>(labels, 0);
    std::vector<int32_t> number(int64_t{labels.rows} * labels.cols, -1);
    int32_t next = 0;
    for (size_t start = 0; start < number.size(); ++start) {
        if (number[start] >= 0) {
            continue;
        }
        std::vector<size_t> queue = {start};
        number[start] = next;
        int32_t adjacent = 0;
        VisitNeighbours(labels, start,
                        [&](size_t i) { adjacent = number[i] >= 0 ? number[i] : adjacent; });
        for (size_t at = 0; at < queue.size(); ++at) {
            VisitNeighbours(labels, queue[at], [&](size_t i) {
                if (number[i] < 0 && label[i] == label[start]) {
                    number[i] = next;
                    queue.push_back(i);
                }
            });
        }
        if (static_cast<int64_t>(queue.size()) > limit) {
            ++next;
            continue;
        }
        for (const size_t i : queue) {
            number[i] = adjacent;
        }
    }
    std::copy(number.begin(), number.end(), label);
    return next;
}

int32_t BestSuperpixels(const Matrix& image, const Matrix& intensity, double compactness,
                        double alpha, const std::vector<int32_t>& requests, Matrix_t<int>& labels)
{
    double best = std::numeric_limits<double>::lowest();
    int32_t chosen = 0;
    for (const int32_t request : requests) {
        Matrix_t<int> candidate;
        const int32_t k = Superpixels<uint16_t>(image, compactness, 4, request, candidate);
        double score = 0.0;
        if (k > 0) {
            SegmentsInfo info;
            ImagSegments::GetSegmentsInfo<uint16_t>(intensity, candidate, k, info);
            for (int32_t j = 0; j < k; ++j) {
                score += info.pixelCount[j] * std::exp(-alpha * info.stdDev[j]);
            }
            score = 1.0 / k * score;
        }
        if (score > best) {
            best = score;
            chosen = k;
            labels = candidate;
        }
    }
    return chosen;
}

template int32_t Superpixels<uint8_t>(const Matrix&, double, int32_t, int32_t, Matrix_t<int>&);
template int32_t Superpixels<uint16_t>(const Matrix&, double, int32_t, int32_t, Matrix_t<int>&);
template int32_t Superpixels<float>(const Matrix&, double, int32_t, int32_t, Matrix_t<int>&);

} // namespace lumo::literal
