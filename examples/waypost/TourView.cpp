// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "TourView.h"

#include <QBuffer>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>
#include <QtMath>

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr QColor kPaper(0xf6, 0xf3, 0xea);
constexpr QColor kGridLine(0xdf, 0xda, 0xcb);
constexpr QColor kInk(0x33, 0x36, 0x3b);
constexpr QColor kFaintInk(0x6b, 0x6f, 0x76);
constexpr QColor kGround(0x8f, 0xae, 0x7d);
constexpr int kMargin = 12;

// Projects a point onto the plane that touches the earth at the origin.
QPointF Project(const Point& point, const Point& origin)
{
    constexpr double kMetresPerDegree = 111195;
    const double east = (point.Longitude - origin.Longitude) * std::cos(qDegreesToRadians(origin.Latitude));
    return QPointF(east, origin.Latitude - point.Latitude) * kMetresPerDegree;
}

// The smallest of 1, 2, 5, 10, 20... that is not smaller than the value.
double RoundUp(double value)
{
    const double power = std::pow(10, std::floor(std::log10(std::max(value, 1e-9))));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= value)
            return factor * power;
    }
    return 10 * power;
}

// The multiples of a step from the first number to the last.
QList<double> MultiplesOf(double step, double first, double last)
{
    QList<double> multiples;
    const auto end = static_cast<qint64>(std::floor(last / step));
    for (auto count = static_cast<qint64>(std::ceil(first / step)); count <= end; ++count)
        multiples.append(static_cast<double>(count) * step);
    return multiples;
}

QPainterPath PathThrough(const QList<QPointF>& points, bool smooth)
{
    QPainterPath path;
    if (points.isEmpty())
        return path;
    path.moveTo(points.first());
    for (qsizetype i = 1; i < points.size(); ++i) {
        if (smooth && i + 1 < points.size())
            path.quadTo(points[i], (points[i] + points[i + 1]) / 2);
        else
            path.lineTo(points[i]);
    }
    return path;
}

void DrawMark(QPainter& painter, const QPointF& at, PointKind kind, const QColor& colour, bool selected)
{
    const double size = selected ? 8 : 5.5;
    painter.save();
    painter.translate(at);
    if (selected) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0xff, 0xd5, 0x4f, 190));
        painter.drawEllipse(QPointF(), size + 6, size + 6);
    }
    painter.setPen(QPen(kPaper, 1.5));
    painter.setBrush(colour);
    switch (kind) {
    case PointKind::Summit:
        painter.drawPolygon(
            QPolygonF({{0, -size * 1.3}, {size * 1.2, size * 0.8}, {-size * 1.2, size * 0.8}}));
        break;
    case PointKind::Hut:
        painter.drawPolygon(QPolygonF(
            {{0, -size * 1.3}, {size, -size * 0.2}, {size, size}, {-size, size}, {-size, -size * 0.2}}));
        break;
    case PointKind::Start:
    case PointKind::End:
        painter.drawRect(QRectF(-size, -size, 2 * size, 2 * size));
        break;
    case PointKind::Track:
    case PointKind::View:
    case PointKind::Water:
        painter.drawEllipse(QPointF(), size, size);
        break;
    }
    painter.restore();
}

QColor ColourOf(PointKind kind)
{
    switch (kind) {
    case PointKind::Water:
        return {0x1e, 0x78, 0xc8};
    case PointKind::Hut:
        return {0x8d, 0x4a, 0x1f};
    case PointKind::View:
        return {0x7b, 0x4f, 0xa6};
    case PointKind::Track:
    case PointKind::Start:
    case PointKind::Summit:
    case PointKind::End:
        break;
    }
    return kInk;
}

} // namespace

TourView::TourView(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"tourView"_s);
    setFocusPolicy(Qt::StrongFocus);
}

void TourView::SetTour(const std::optional<Tour>& tour)
{
    mTour = tour;
    mPlaces.clear();
    mWay.clear();
    mBounds = {};
    mSection = tour ? QRectF(tour->Section) : QRectF();
    if (tour && !tour->Points.isEmpty()) {
        const QList<Point>& points = tour->Points;
        QPolygonF places;
        double way = 0;
        mLowest = mHighest = points.first().Elevation;
        for (qsizetype i = 0; i < points.size(); ++i) {
            way += i > 0 ? Distance(points[i - 1], points[i]) : 0;
            mWay.append(way);
            places.append(Project(points[i], points.first()));
            mLowest = std::min(mLowest, points[i].Elevation);
            mHighest = std::max(mHighest, points[i].Elevation);
        }
        mPlaces = places;
        mBounds = places.boundingRect();
    }
    if (mSelected >= mPlaces.size())
        mSelected = -1;
    Describe();
    update();
}

void TourView::SetPreferences(const Preferences& preferences, const QLocale& locale)
{
    mPreferences = preferences;
    mLocale = locale;
    Describe();
    update();
}

void TourView::SetTexts(const QString& nothing, const QString& distance, const QString& elevation)
{
    mNothing = nothing;
    mDistance = distance;
    mElevation = elevation;
    Describe();
    update();
}

void TourView::SetSelected(int index)
{
    mSelected = index < mPlaces.size() ? index : -1;
    Describe();
    update();
}

// Describes the picture for screen readers.
void TourView::Describe()
{
    if (!mTour) {
        setAccessibleName(mNothing);
        setAccessibleDescription({});
        return;
    }
    setAccessibleName(mTour->Name);
    setAccessibleDescription(
        u"%1: %2, %3: %4–%5"_s.arg(mDistance, FormatWay(mTour->Length(), mPreferences.Unit, mLocale),
                                   mElevation, FormatHeight(mLowest, mPreferences.Unit, mLocale),
                                   FormatHeight(mHighest, mPreferences.Unit, mLocale)));
}

// Geometry

QRect TourView::ProfileArea() const
{
    if (!mPreferences.Profile)
        return {};
    const int height = std::clamp(this->height() * 3 / 10, 110, 220);
    return {0, this->height() - height, width(), height};
}

QRect TourView::MapArea() const
{
    return {0, 0, width(), height() - ProfileArea().height()};
}

QRectF TourView::Section() const
{
    const QRectF area = MapArea();
    QRectF section = mSection;
    if (section.isEmpty()) {
        const double margin = std::max({mBounds.width(), mBounds.height(), 200.0}) * 0.14;
        section = mBounds.adjusted(-margin, -margin, margin, margin);
    }
    // Extend the section to the aspect ratio of the widget.
    const double scale = std::max(section.width() / area.width(), section.height() / area.height());
    QRectF fitted(0, 0, area.width() * scale, area.height() * scale);
    fitted.moveCenter(section.center());
    return fitted;
}

QPointF TourView::ToMap(const QPointF& metres) const
{
    const QRectF section = Section();
    const QRectF area = MapArea();
    return area.topLeft() + (metres - section.topLeft()) * (area.width() / section.width());
}

double TourView::HeightRange() const
{
    return std::max(50.0, mHighest - mLowest);
}

// The part of the profile inside the labels, which need more room if the font is large.
QRectF TourView::GroundArea() const
{
    constexpr int kMarkSize = 14;
    const QFontMetrics metrics = fontMetrics();
    int label = 0;
    for (const double height : {mLowest, mLowest + HeightRange()})
        label = std::max(label, metrics.horizontalAdvance(FormatHeight(height, mPreferences.Unit, mLocale)));
    const int line = metrics.height() + kMargin;
    return QRectF(ProfileArea()).adjusted(label + kMargin + kMarkSize, line, -20, -line);
}

QPointF TourView::ToProfile(qsizetype index, const QRectF& area) const
{
    const double length = std::max(1.0, mWay.last());
    return {area.left() + area.width() * mWay[index] / length,
            area.bottom() - area.height() * (mTour->Points[index].Elevation - mLowest) / HeightRange()};
}

void TourView::Zoom(double factor, const QPointF& around)
{
    if (mPlaces.isEmpty())
        return;
    const QRectF section = Section();
    const double width = section.width() / factor;
    if (width < 100 || width > 400000)
        return;
    const QRectF area = MapArea();
    const QPointF fixed = section.topLeft() + (around - area.topLeft()) * (section.width() / area.width());
    mSection = QRectF(fixed + (section.topLeft() - fixed) / factor, section.size() / factor);
    Q_EMIT SectionChanged(mSection.toRect());
    update();
}

void TourView::ShowAll()
{
    mSection = {};
    Q_EMIT SectionChanged(QRect());
    update();
}

// Input

void TourView::SelectNear(const QPointF& position)
{
    constexpr double kReach = 18;
    int nearest = -1;
    double best = kReach;
    const bool onProfile = ProfileArea().contains(position.toPoint());
    const QRectF ground = GroundArea();
    for (qsizetype i = 0; i < mPlaces.size(); ++i) {
        if (mTour->Points[i].Kind == PointKind::Track)
            continue;
        const QPointF away = (onProfile ? ToProfile(i, ground) : ToMap(mPlaces[i])) - position;
        const double distance = onProfile ? std::abs(away.x()) : std::hypot(away.x(), away.y());
        if (distance < best) {
            best = distance;
            nearest = static_cast<int>(i);
        }
    }
    if (nearest < 0)
        return;
    SetSelected(nearest);
    Q_EMIT PointSelected(nearest);
}

void TourView::SelectNeighbour(int step)
{
    const auto count = static_cast<int>(mPlaces.size());
    const int start = mSelected >= 0 ? mSelected + step : step > 0 ? 0 : count - 1;
    for (int i = start; i >= 0 && i < count; i += step) {
        if (mTour->Points[i].Kind != PointKind::Track) {
            SetSelected(i);
            Q_EMIT PointSelected(i);
            return;
        }
    }
}

void TourView::mousePressEvent(QMouseEvent* event)
{
    mDragFrom = event->position();
    if (event->button() == Qt::LeftButton)
        SelectNear(event->position());
}

void TourView::mouseMoveEvent(QMouseEvent* event)
{
    if (!event->buttons().testFlag(Qt::LeftButton) || mPlaces.isEmpty()
        || !MapArea().contains(mDragFrom.toPoint()))
        return;
    const QRectF section = Section();
    mSection = section.translated((mDragFrom - event->position()) * (section.width() / MapArea().width()));
    mDragFrom = event->position();
    Q_EMIT SectionChanged(mSection.toRect());
    update();
}

void TourView::wheelEvent(QWheelEvent* event)
{
    Zoom(std::pow(1.2, event->angleDelta().y() / 120.0), event->position());
    event->accept();
}

void TourView::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Left:
        SelectNeighbour(-1);
        break;
    case Qt::Key_Right:
        SelectNeighbour(1);
        break;
    case Qt::Key_Plus:
        ZoomIn();
        break;
    case Qt::Key_Minus:
        ZoomOut();
        break;
    case Qt::Key_0:
        ShowAll();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

// Drawing

void TourView::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), kPaper);
    if (mPlaces.isEmpty()) {
        painter.setPen(kFaintInk);
        painter.drawText(rect().adjusted(kMargin, kMargin, -kMargin, -kMargin),
                         Qt::AlignCenter | Qt::TextWordWrap, mNothing);
    } else {
        painter.setClipRect(MapArea());
        DrawMap(painter);
        painter.setClipRect(ProfileArea());
        if (mPreferences.Profile)
            DrawProfile(painter);
        painter.setClipping(false);
    }
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().highlight().color(), 2));
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

void TourView::DrawMap(QPainter& painter) const
{
    if (mPreferences.Grid)
        DrawGrid(painter);

    QList<QPointF> places;
    places.reserve(mPlaces.size());
    for (const QPointF& place : mPlaces)
        places.append(ToMap(place));
    const QPainterPath track = PathThrough(places, mPreferences.Smooth);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, mPreferences.TrackWidth + 3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(track);
    painter.setPen(
        QPen(mPreferences.TrackColour, mPreferences.TrackWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(track);

    for (qsizetype i = 0; i < places.size(); ++i) {
        const PointKind kind = mTour->Points[i].Kind;
        if (kind != PointKind::Track)
            DrawMark(painter, places[i], kind, ColourOf(kind), i == mSelected);
    }
    if (mPreferences.Names)
        DrawNames(painter);
    DrawScale(painter);
}

void TourView::DrawGrid(QPainter& painter) const
{
    const QRectF section = Section();
    const double unit = MetresPerWay(mPreferences.Unit);
    const double step = RoundUp(section.width() / unit / 8) * unit;
    painter.setPen(QPen(kGridLine, 1));
    for (const double x : MultiplesOf(step, section.left(), section.right()))
        painter.drawLine(ToMap({x, section.top()}), ToMap({x, section.bottom()}));
    for (const double y : MultiplesOf(step, section.top(), section.bottom()))
        painter.drawLine(ToMap({section.left(), y}), ToMap({section.right(), y}));
}

// Draws each name where it covers neither a mark nor another name, and omits names that fit nowhere.
void TourView::DrawNames(QPainter& painter) const
{
    QList<QRectF> taken;
    for (qsizetype i = 0; i < mPlaces.size(); ++i) {
        if (mTour->Points[i].Kind != PointKind::Track) {
            const QPointF at = ToMap(mPlaces[i]);
            taken.append(QRectF(at.x() - 7, at.y() - 7, 14, 14));
        }
    }
    const QFontMetricsF metrics(painter.font());
    const QRectF area = QRectF(MapArea()).adjusted(4, 4, -4, -4);
    for (qsizetype i = 0; i < mPlaces.size(); ++i) {
        const QString name = metrics.elidedText(mTour->Points[i].Name, Qt::ElideRight, area.width() / 2);
        if (name.isEmpty() || mTour->Points[i].Kind == PointKind::Track)
            continue;
        const QPointF at = ToMap(mPlaces[i]);
        const QSizeF size(metrics.horizontalAdvance(name) + 2, metrics.height());
        const QPointF corners[]
            = {at + QPointF(12, -size.height() / 2), at + QPointF(-12 - size.width(), -size.height() / 2),
               at + QPointF(-size.width() / 2, -14 - size.height()), at + QPointF(-size.width() / 2, 13)};
        const auto isFree = [&](const QPointF& corner) {
            const QRectF box(corner, size);
            return area.contains(box) && std::none_of(taken.cbegin(), taken.cend(), [&](const QRectF& other) {
                       return other.intersects(box);
                   });
        };
        const auto* corner = std::find_if(std::begin(corners), std::end(corners), isFree);
        if (corner == std::end(corners))
            continue;
        taken.append(QRectF(*corner, size));
        QPainterPath text;
        text.addText(*corner + QPointF(0, metrics.ascent()), painter.font(), name);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(255, 255, 255, 225), 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(text);
        painter.fillPath(text, i == mSelected ? QColor(Qt::black) : kInk);
    }
}

void TourView::DrawScale(QPainter& painter) const
{
    const QRectF section = Section();
    const QRectF area = MapArea();
    const double unit = MetresPerWay(mPreferences.Unit);
    const double way = RoundUp(section.width() / unit / 8) * unit;
    const double length = way * area.width() / section.width();
    const QPointF right = area.bottomRight() + QPointF(-kMargin - 4, -kMargin);
    const QPointF left = right - QPointF(length, 0);
    painter.setPen(QPen(kInk, 2));
    painter.drawLine(left, right);
    painter.drawLine(left, left - QPointF(0, 5));
    painter.drawLine(right, right - QPointF(0, 5));
    const double line = QFontMetricsF(painter.font()).height();
    const int decimals = way / unit < 0.1 ? 2 : 1;
    painter.drawText(QRectF(left.x() - 60, left.y() - line - 6, length + 120, line), Qt::AlignCenter,
                     FormatWay(way, mPreferences.Unit, mLocale, decimals));
}

void TourView::DrawProfile(QPainter& painter) const
{
    const QRectF area = ProfileArea();
    painter.fillRect(area, Qt::white);
    painter.setPen(QPen(kGridLine, 1));
    painter.drawLine(area.topLeft(), area.topRight());

    const QRectF inner = GroundArea();
    const double line = QFontMetricsF(painter.font()).height() + 4;
    QPolygonF ground;
    for (qsizetype i = 0; i < mWay.size(); ++i)
        ground.append(ToProfile(i, inner));

    // Lines at round heights.
    const double unit = MetresPerHeight(mPreferences.Unit);
    const double range = HeightRange();
    const double step = RoundUp(range / unit / 4) * unit;
    for (const double height : MultiplesOf(step, mLowest, mLowest + range)) {
        const double y = inner.bottom() - inner.height() * (height - mLowest) / range;
        painter.setPen(QPen(kGridLine, 1));
        painter.drawLine(QPointF(inner.left(), y), QPointF(inner.right(), y));
        painter.setPen(kFaintInk);
        painter.drawText(QRectF(0, y - line / 2, inner.left() - kMargin, line),
                         Qt::AlignRight | Qt::AlignVCenter, FormatHeight(height, mPreferences.Unit, mLocale));
    }

    QPolygonF filled = ground;
    filled.append(QPointF(ground.last().x(), inner.bottom()));
    filled.append(QPointF(ground.first().x(), inner.bottom()));
    QLinearGradient shade(0, area.top(), 0, inner.bottom());
    shade.setColorAt(0, kGround);
    shade.setColorAt(1, kGround.lighter(150));
    painter.setPen(Qt::NoPen);
    painter.setBrush(shade);
    painter.drawPolygon(filled);
    painter.setPen(QPen(mPreferences.TrackColour, 2));
    painter.drawPolyline(ground);

    for (qsizetype i = 0; i < mWay.size(); ++i) {
        const PointKind kind = mTour->Points[i].Kind;
        if (kind != PointKind::Track)
            DrawMark(painter, ground[i], kind, ColourOf(kind), i == mSelected);
    }
    painter.setPen(kFaintInk);
    painter.drawText(QPointF(8, area.top() + line), mElevation);
    const QRectF below(inner.left(), inner.bottom() + 4, inner.width(), line);
    painter.drawText(below, Qt::AlignLeft | Qt::AlignVCenter, FormatWay(0, mPreferences.Unit, mLocale));
    painter.drawText(below, Qt::AlignRight | Qt::AlignVCenter,
                     FormatWay(mWay.last(), mPreferences.Unit, mLocale));
    painter.drawText(below, Qt::AlignCenter, mDistance);
}

QByteArray TourView::MakeThumbnail(const Tour& tour, const Preferences& preferences)
{
    constexpr QSize kSize(48, 32);
    TourView view;
    view.SetTour(tour);
    if (view.mPlaces.isEmpty())
        return {};
    QImage image(kSize, QImage::Format_RGB32);
    image.fill(kPaper);
    const double scale = std::min((kSize.width() - 8) / std::max(1.0, view.mBounds.width()),
                                  (kSize.height() - 8) / std::max(1.0, view.mBounds.height()));
    QList<QPointF> places;
    for (const QPointF& place : std::as_const(view.mPlaces))
        places.append((place - view.mBounds.center()) * scale + QRectF(image.rect()).center());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(preferences.TrackColour, 2));
    painter.drawPath(PathThrough(places, preferences.Smooth));
    painter.end();
    QByteArray png;
    QBuffer buffer(&png);
    return buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG") ? png : QByteArray();
}
