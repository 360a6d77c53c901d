// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_TOUR_H
#define WAYPOST_TOUR_H

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QRect>
#include <QString>

#include <optional>

namespace Quorvin::Util {
class XmlFiler;
}

enum class PointKind {
    Track, // a point of the track without a name; all others are waypoints
    Start,
    Summit,
    Hut,
    View,
    Water,
    End,
};

struct Point
{
    QString Name;
    PointKind Kind = PointKind::Track;
    double Latitude = 0; // degrees
    double Longitude = 0; // degrees
    double Elevation = 0; // metres

    bool operator==(const Point&) const = default;
};

enum class TourKind {
    Hike,
    Climb,
    Ski,
    Ride,
};

/// Why a tour could not be loaded.
struct TourError
{
    enum class Reason {
        Unreadable, // no such file, or it cannot be opened
        Damaged, // not well-formed; Line and Column say where
        NotATour, // a document of another kind
    };

    Reason Why = Reason::Unreadable;
    QString Text;
    int Line = 0;
    int Column = 0;
};

/// The content of one tour file, as a plain value.
struct Tour
{
    QString Name;
    QDateTime Date;
    TourKind Kind = TourKind::Hike;
    QString Notes;
    QList<Point> Points;
    QRect Section; // shown on the map, in metres east and south of the first point; null: the whole tour
    QByteArray Thumbnail; // PNG

    bool operator==(const Tour&) const = default;

    /// \return length of the track in metres
    [[nodiscard]] double Length() const;
    /// \return metres of ascent
    [[nodiscard]] double Ascent() const;

    /// Inserts a viewpoint halfway to the next point or, after the last point, a little further on.
    /// \param after  index of a point; -1 inserts the viewpoint before all points
    /// \return index of the viewpoint
    int InsertWaypoint(int after, const QString& name);
    /// Turns a waypoint into a point of the track.
    void RemoveWaypoint(int index);

    /// Loads a tour from a file.
    /// \param error  receives the reason for a failure
    /// \return nothing if the file does not contain a tour
    static std::optional<Tour> Load(const QString& file, TourError& error);
    /// Saves the tour atomically: if that fails, the old file is unchanged.
    /// \return false if the file cannot be written
    [[nodiscard]] bool Save(const QString& file) const;

    /// Reads a tour from XML text, for example from a message of another process.
    /// \return nothing if the text does not contain a tour
    static std::optional<Tour> FromXml(const QString& xml);
    [[nodiscard]] QString ToXml() const;

    /// Writes the track and the waypoints as GPX, the format of navigation devices.
    /// \return false if the file cannot be written
    [[nodiscard]] bool ExportGpx(const QString& file) const;

    /// Convert between kinds and their names in files.
    static QString NameOf(PointKind kind);
    static QString NameOf(TourKind kind);
    static PointKind PointKindOf(const QString& name);
    static TourKind TourKindOf(const QString& name);

private:
    [[nodiscard]] bool ReadFrom(Quorvin::Util::XmlFiler& filer);
    void WriteTo(Quorvin::Util::XmlFiler& filer) const;
};

/// \return metres between two points, along the ground
double Distance(const Point& from, const Point& to);

#endif // WAYPOST_TOUR_H
