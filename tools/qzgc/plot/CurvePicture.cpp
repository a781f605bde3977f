// SPDX-License-Identifier: MIT
#include "tools/qzgc/JSONText.h"
#include "tools/qzgc/plot/Axis.h"
#include "tools/qzgc/plot/Pictures.h"
#include "tools/qzgc/plot/Svg.h"

#include <algorithm>
#include <cmath>

namespace qz::tools {

namespace {

constexpr const char* style = "text{font:12px sans-serif;fill:#1f2328}\n"
                              ".ground{fill:#fff;stroke:#d0d7de}\n"
                              ".title{font-size:16px;font-weight:bold}\n"
                              ".note{font-size:11px;fill:#57606a}\n"
                              ".tick{font-size:11px;text-anchor:middle}\n"
                              ".value{font-size:11px;text-anchor:end}\n"
                              ".field{fill:#f6f8fa}\n"
                              ".range{fill:#dbe9ff}\n"
                              ".grid{stroke:#d8dee4;stroke-width:.5}\n"
                              ".axis{stroke:#57606a}\n"
                              ".band{fill:#0b57d0;fill-opacity:.15}\n"
                              ".edge{stroke:#0b57d0;stroke-dasharray:5 3}\n"
                              ".edgeName{font-size:11px;fill:#0842a0;text-anchor:middle}\n"
                              ".curve{fill:none;stroke:#0b57d0;stroke-width:1.6}\n"
                              ".rest{fill:#fff;stroke:#0b57d0;stroke-width:2}\n"
                              ".restLine{stroke:#0b57d0;stroke-dasharray:1 3}\n"
                              ".seen{fill:#a8430b}\n"
                              ".count{fill:#a8430b;fill-opacity:.55}\n";

constexpr double width = 720;
constexpr double height = 560;
constexpr double left = 56;
constexpr double right = 696;
constexpr double top = 84;
constexpr double bottom = 404; // of the curve
constexpr double countTop = 414;
constexpr double countBottom = 462; // of the histogram, with the raw axis below it

/// Values on the picture's axes.
class Field {
public:
    explicit Field(const Curve& curve)
        : low_(curve.line.front().raw), span_(static_cast<double>(curve.line.back().raw - low_)) {}

    double x(std::int64_t raw) const { return left + static_cast<double>(raw - low_) / span_ * (right - left); }
    static double y(double normalized) { return bottom - normalized * (bottom - top); }

private:
    std::int64_t low_;
    double span_;
};

void drawAxes(Svg& svg, const Curve& curve, const Field& field) {
    for (int quarter = 0; quarter <= 4; ++quarter) {
        const double value = quarter / 4.0;
        svg.line(left, Field::y(value), right, Field::y(value), "grid");
        svg.text(left - 6, Field::y(value) + 4, numberText(value), "value");
    }
    constexpr int mostTicks = 9;
    for (const Tick& tick : ticksBetween(curve.line.front().raw, curve.line.back().raw, mostTicks)) {
        svg.line(field.x(tick.value), top, field.x(tick.value), countBottom + 4, "grid");
        svg.text(field.x(tick.value), countBottom + 16, tick.label, "tick");
    }
    svg.line(left, countBottom, right, countBottom, "axis");
    svg.text((left + right) / 2, countBottom + 34, "raw value", "tick");
}

bool isOnAxis(const Curve& curve, std::int64_t raw) {
    return raw >= curve.line.front().raw && raw <= curve.line.back().raw;
}

/// One end of the range that normalisation uses; an arrow where it is beyond the axis.
void drawRangeEnd(Svg& svg, const Curve& curve, const Field& field, std::int64_t raw) {
    std::string name = std::to_string(raw);
    double x = right;
    if (isOnAxis(curve, raw)) {
        x = field.x(raw);
        svg.line(x, top, x, bottom, "edge");
    } else if (raw < curve.line.front().raw) {
        x = left;
        name = "← " + name;
    } else {
        name += " →";
    }
    const double half = 3.5 * static_cast<double>(name.size());
    svg.text(std::clamp(x, left + half, right - half), top - 6, name, "edgeName");
}

void drawRange(Svg& svg, const Curve& curve, const Field& field) {
    svg.rectangle(left, top, right - left, bottom - top, "field");
    const double from = field.x(std::clamp(curve.observedMin, curve.line.front().raw, curve.line.back().raw));
    const double to = field.x(std::clamp(curve.observedMax, curve.line.front().raw, curve.line.back().raw));
    if (from < to) {
        svg.rectangle(from, top, to - from, bottom - top, "range");
    }
    drawRangeEnd(svg, curve, field, curve.observedMin);
    drawRangeEnd(svg, curve, field, curve.observedMax);
}

/// A value within this band around the last reported one is not reported.
void drawBand(Svg& svg, const Curve& curve, const Field& field) {
    if (curve.hysteresis <= 0) {
        return;
    }
    PathData band;
    const auto at = [&](const CurvePoint& point, double offset) {
        const double y = Field::y(std::clamp(point.normalized + offset, 0.0, 1.0));
        if (band.empty()) {
            band.moveTo(field.x(point.raw), y);
        } else {
            band.lineTo(field.x(point.raw), y);
        }
    };
    std::ranges::for_each(curve.line, [&](const CurvePoint& point) { at(point, curve.hysteresis); });
    std::for_each(curve.line.rbegin(), curve.line.rend(),
                  [&](const CurvePoint& point) { at(point, -curve.hysteresis); });
    svg.path(band.close(), "band");
}

void drawCurve(Svg& svg, const Curve& curve, const Field& field) {
    PathData path;
    for (const CurvePoint& point : curve.line) {
        const double x = field.x(point.raw);
        const double y = Field::y(point.normalized);
        if (path.empty()) {
            path.moveTo(x, y);
        } else {
            path.lineTo(x, y);
        }
    }
    svg.path(path, "curve");
}

void drawRest(Svg& svg, const Curve& curve, const Field& field) {
    if (!curve.rest || !isOnAxis(curve, curve.rest->raw)) {
        return;
    }
    const double x = field.x(curve.rest->raw);
    svg.line(x, top, x, countBottom, "restLine");
    svg.circle(x, Field::y(curve.rest->normalized), 5, "rest");
    // Within the field: the names of the range's ends stand above it.
    svg.text(std::clamp(x + 32, left + 32, right - 32), bottom - 6, "rest " + std::to_string(curve.rest->raw),
             "edgeName");
}

/// The values seen: points on the curve, and below it how often each came up, with one place for all that fall onto the
/// same column of the picture.
void drawSeen(Svg& svg, const Curve& curve, const Field& field) {
    std::size_t most = 1;
    std::vector<CurvePoint> columns;
    for (const CurvePoint& point : curve.seen) {
        if (!columns.empty() && std::floor(field.x(columns.back().raw)) == std::floor(field.x(point.raw))) {
            columns.back().count += point.count;
        } else {
            columns.push_back(point);
        }
        most = std::max(most, columns.back().count);
    }
    for (const CurvePoint& point : columns) {
        const double part = std::log1p(static_cast<double>(point.count)) / std::log1p(static_cast<double>(most));
        const double x = field.x(point.raw);
        const double y = countBottom - part * (countBottom - countTop);
        svg.rectangle(x - 0.5, y, 1, countBottom - y, "count");
        svg.circle(x, Field::y(point.normalized), 2.2, "seen");
    }
}

std::string restText(const Curve& curve) {
    if (!curve.rest) {
        return "no rest point, one straight line";
    }
    return "rest point " + std::to_string(curve.rest->raw) + " gives " + numberText(curve.rest->normalized) +
           (curve.springsBack ? ", springs back" : ", does not spring back");
}

std::string seenText(const Curve& curve) {
    if (curve.seenCount == 0) {
        return "no values in the recording";
    }
    return "values in the recording: " + rangeText(curve.seenMin, curve.seenMax) + ", " +
           std::to_string(curve.seenCount) + (curve.seenCount == 1 ? " change" : " changes") +
           " (bars: how often each came up, on a logarithmic scale)";
}

std::string useText(const Curve& curve) {
    std::string text = curve.hysteresis > 0 ? "hysteresis " + numberText(curve.hysteresis) +
                                                  " (shaded): smaller changes are not reported"
                                            : "hysteresis 0: every change is reported";
    if (curve.action) {
        text += "; triggers \"" + *curve.action + '"';
        text += curve.isReversed ? ", reversed: 1 less the value" : "";
    }
    return text;
}

std::string rangesText(const Curve& curve) {
    return "logical range " + rangeText(curve.logicalMin, curve.logicalMax) +
           (curve.isCalibrated ? ", calibrated to " + rangeText(curve.observedMin, curve.observedMax)
                               : ", not calibrated") +
           "; " + restText(curve);
}

} // namespace

std::string pictureOf(const Curve& curve) {
    const std::string title = curve.control + " of " + curve.device.name + ": raw to normalised";
    const std::string description = "How the control " + curve.control + " (cookie " + std::to_string(curve.cookie) +
                                    ") of " + curve.device.instanceID + " is normalised: " + rangesText(curve) + "; " +
                                    useText(curve) + "; " + seenText(curve) + '.';
    Svg svg(width, height, title, description, style);
    const Field field(curve);
    svg.text(16, 28, title, "title", 72);
    svg.text(16, 48, "normalised value", "note");
    drawRange(svg, curve, field);
    drawAxes(svg, curve, field);
    drawBand(svg, curve, field);
    drawCurve(svg, curve, field);
    drawSeen(svg, curve, field);
    drawRest(svg, curve, field);
    svg.text(16, height - 46, rangesText(curve), "note", 116);
    svg.text(16, height - 30, seenText(curve), "note", 116);
    svg.text(16, height - 14, useText(curve), "note", 116);
    return svg.finish();
}

} // namespace qz::tools
