// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTSUPPORT_H
#define QVUTIL_TESTSUPPORT_H

#include <QByteArray>
#include <QDomDocument>
#include <QFile>
#include <QLoggingCategory>
#include <QMap>
#include <QMutex>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QTest>

#include <optional>

#include <time.h>
#include <unistd.h>

// QTRY_VERIFY and QTRY_COMPARE with a time-out of a minute, for busy machines. (With Qt 6.8, Qt's own macros
// cause warnings about conversions.)
#define EVENTUALLY(condition)                                                                                \
    QVERIFY(QTest::qWaitFor([&] { return static_cast<bool>(condition); }, TestSupport::kEventTimeoutMs))
#define EVENTUALLY_EQUAL(actual, expected)                                                                   \
    do {                                                                                                     \
        static_cast<void>(                                                                                   \
            QTest::qWaitFor([&] { return (actual) == (expected); }, TestSupport::kEventTimeoutMs));          \
        QCOMPARE(actual, expected);                                                                          \
    } while (false)

/// Helpers for all tests. Everything is in this header, so that a test program needs nothing else.
namespace TestSupport {

/// Time-out in milliseconds for events that must happen; the machine may be busy.
inline constexpr int kEventTimeoutMs = 60000;

/// Sets or removes an environment variable for the lifetime of the guard.
class EnvironmentGuard
{
public:
    explicit EnvironmentGuard(const char* name)
        : mName(name)
    {
        if (qEnvironmentVariableIsSet(name))
            mSaved = qgetenv(name);
    }
    EnvironmentGuard(const char* name, const QByteArray& value)
        : EnvironmentGuard(name)
    {
        qputenv(name, value);
    }
    ~EnvironmentGuard()
    {
        if (mSaved)
            qputenv(mName.constData(), *mSaved);
        else
            qunsetenv(mName.constData());
    }
    Q_DISABLE_COPY_MOVE(EnvironmentGuard)

private:
    QByteArray mName;
    std::optional<QByteArray> mSaved;
};

/// Sets the time zone of the process, such as "Asia/Kolkata", for the lifetime of the guard.
class TimeZoneGuard
{
public:
    explicit TimeZoneGuard(const QByteArray& zone)
    {
        mVariable.emplace("TZ", zone);
        tzset();
    }
    ~TimeZoneGuard()
    {
        mVariable.reset();
        tzset();
    }
    Q_DISABLE_COPY_MOVE(TimeZoneGuard)

private:
    std::optional<EnvironmentGuard> mVariable;
};

/// Enables the library's logging category and collects its messages for the lifetime of the guard. Other
/// messages are handled as usual. Only one guard may exist at a time.
class LogGuard
{
public:
    LogGuard()
    {
        Clear();
        Previous() = qInstallMessageHandler(&LogGuard::Handle);
        QLoggingCategory::setFilterRules(QStringLiteral("qvutil=true"));
    }
    ~LogGuard()
    {
        QLoggingCategory::setFilterRules(QString());
        qInstallMessageHandler(Previous());
    }
    Q_DISABLE_COPY_MOVE(LogGuard)

    /// Returns the messages of the category "qvutil" since the guard was created, from all threads.
    [[nodiscard]] static QStringList Messages()
    {
        const QMutexLocker locker(&Lock());
        return List();
    }

private:
    static void Clear()
    {
        const QMutexLocker locker(&Lock());
        List().clear();
    }
    static QMutex& Lock()
    {
        static QMutex mutex;
        return mutex;
    }
    static QStringList& List()
    {
        static QStringList messages;
        return messages;
    }
    static QtMessageHandler& Previous()
    {
        static QtMessageHandler handler = nullptr;
        return handler;
    }
    static void Handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        if (qstrcmp(context.category, "qvutil") == 0) {
            const QMutexLocker locker(&Lock());
            List().append(text);
        } else if (Previous() != nullptr) {
            Previous()(type, context, text);
        }
    }
};

/// Drops root privileges, with which every file can be read and written, for the lifetime of the guard. Does
/// nothing for other users. The folders above a file must be accessible to everybody.
class UnprivilegedGuard
{
public:
    UnprivilegedGuard()
        : mActive(geteuid() == 0 && seteuid(kNobody) == 0)
    { }
    ~UnprivilegedGuard()
    {
        if (mActive && seteuid(0) != 0)
            qFatal("cannot become root again");
    }
    Q_DISABLE_COPY_MOVE(UnprivilegedGuard)

private:
    static constexpr uid_t kNobody = 65534;
    bool mActive;
};

/// Returns the content of a file; a null array if it cannot be read.
[[nodiscard]] inline QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

/// Replaces the content of a file. \return false after a failure
[[nodiscard]] inline bool WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size()
        && file.flush();
}

/// Appends one line per node, with attributes sorted by name. The lines are equal for documents of equal
/// meaning, and show where two documents differ.
inline void AppendMeaning(const QDomNode& node, const QString& indent, QString& result)
{
    switch (node.nodeType()) {
    case QDomNode::ElementNode: {
        result += indent + QStringLiteral("<%1>").arg(node.nodeName()) + u'\n';
        QMap<QString, QString> attributes;
        const QDomNamedNodeMap map = node.attributes();
        for (int i = 0; i < map.count(); ++i)
            attributes.insert(map.item(i).nodeName(), map.item(i).nodeValue());
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            result += indent + QStringLiteral(" @%1=[%2]\n").arg(it.key(), it.value());
        break;
    }
    case QDomNode::DocumentNode:
        break;
    default:
        result += indent
            + QStringLiteral("%1 %2=[%3]\n")
                  .arg(QString::number(node.nodeType()), node.nodeName(), node.nodeValue());
        break;
    }
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        AppendMeaning(child, indent + u' ', result);
}

/// Describes the document that a node belongs to.
[[nodiscard]] inline QString DocumentMeaning(const QDomNode& node)
{
    QString result;
    AppendMeaning(node.ownerDocument(), QString(), result);
    return result;
}

/// Describes a document without regard to attribute order and indentation; "unreadable" if it does not parse.
[[nodiscard]] inline QString XmlMeaning(const QByteArray& xml)
{
    QDomDocument document;
    if (!document.setContent(xml))
        return QStringLiteral("unreadable: %1").arg(QString::fromUtf8(xml));
    QString result;
    AppendMeaning(document, QString(), result);
    return result;
}

/// \overload
[[nodiscard]] inline QString XmlMeaning(const QString& xml)
{
    QDomDocument document;
    if (!document.setContent(xml))
        return QStringLiteral("unreadable: %1").arg(xml);
    QString result;
    AppendMeaning(document, QString(), result);
    return result;
}

/// Makes the running test fail if the program logs a warning, so that the library writes nothing to standard
/// error unnoticed. Call it in each init().
inline void FailOnAnyMessage()
{
    static const QRegularExpression any(QStringLiteral(".*"));
    QTest::failOnWarning(any);
}

} // namespace TestSupport

#endif // QVUTIL_TESTSUPPORT_H
