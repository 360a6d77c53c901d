// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_TOURVIEW_H
#define WAYPOST_TOURVIEW_H

#include "Tour.h"
#include "Units.h"
#include "UserSettings.h"

#include <QLocale>
#include <QWidget>

#include <optional>

/// Shows a tour: a map with its track and waypoints, and below it the elevation profile.
///
/// With the mouse, select waypoints in the map or the profile, drag the map, and zoom with the wheel. With
/// the keyboard, Left and Right select, + and - zoom, and 0 shows the whole tour.
class TourView : public QWidget
{
    Q_OBJECT
public:
    explicit TourView(QWidget* parent = nullptr);

    void SetTour(const std::optional<Tour>& tour);
    void SetPreferences(const Preferences& preferences, const QLocale& locale);
    /// Sets the text that is shown without a tour, and the names of the profile's axes.
    void SetTexts(const QString& nothing, const QString& distance, const QString& elevation);
    /// \param index  into the tour's points; -1 for none
    void SetSelected(int index);
    [[nodiscard]] int Selected() const { return mSelected; }
    /// Returns a small picture of a tour's track, as PNG.
    [[nodiscard]] static QByteArray MakeThumbnail(const Tour& tour, const Preferences& preferences);

    void ZoomIn() { Zoom(1.4, QRectF(MapArea()).center()); }
    void ZoomOut() { Zoom(1 / 1.4, QRectF(MapArea()).center()); }
    void ShowAll();

    [[nodiscard]] QSize sizeHint() const override { return {620, 560}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {320, 280}; }

Q_SIGNALS:
    /// The user has selected a waypoint.
    void PointSelected(int index);
    /// The user has moved or zoomed the map.
    void SectionChanged(const QRect& section);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    [[nodiscard]] QRect MapArea() const;
    [[nodiscard]] QRect ProfileArea() const;
    [[nodiscard]] QRectF GroundArea() const;
    [[nodiscard]] double HeightRange() const;
    [[nodiscard]] QRectF Section() const; // in metres, with the aspect ratio of the map's area
    [[nodiscard]] QPointF ToMap(const QPointF& metres) const;
    [[nodiscard]] QPointF ToProfile(qsizetype index, const QRectF& area) const; // area: GroundArea()
    void Zoom(double factor, const QPointF& around);
    void SelectNeighbour(int step);
    void SelectNear(const QPointF& position);
    void Describe();

    void DrawMap(QPainter& painter) const;
    void DrawGrid(QPainter& painter) const;
    void DrawNames(QPainter& painter) const;
    void DrawScale(QPainter& painter) const;
    void DrawProfile(QPainter& painter) const;

    std::optional<Tour> mTour;
    QList<QPointF> mPlaces; // for each point: metres east and south of the first point
    QList<double> mWay; // for each point: metres along the track from the start
    QRectF mBounds; // encloses mPlaces
    double mLowest = 0;
    double mHighest = 0;
    QRectF mSection; // null: the whole tour
    int mSelected = -1;
    QPointF mDragFrom;
    Preferences mPreferences;
    QLocale mLocale;
    QString mNothing;
    QString mDistance;
    QString mElevation;
};

#endif // WAYPOST_TOURVIEW_H
