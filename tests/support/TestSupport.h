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

// QTRY_VERIFY and QTRY_COMPARE with time for a busy machine: a minute. (Qt's own, expanded in code that
// converts strictly, warn with Qt 6.8.)
#define EVENTUALLY(condition)                                                                                \
    QVERIFY(QTest::qWaitFor([&] { return static_cast<bool>(condition); }, TestSupport::kPatienceMs))
#define EVENTUALLY_EQUAL(actual, expected)                                                                   \
    do {                                                                                                     \
        static_cast<void>(                                                                                   \
            QTest::qWaitFor([&] { return (actual) == (expected); }, TestSupport::kPatienceMs));              \
        QCOMPARE(actual, expected);                                                                          \
    } while (false)

/// What the test programs share. Everything is in this header, so that a program needs no more than it.
namespace TestSupport {

/// How long to wait for what must come, in milliseconds: the machine may be busy with other things.
inline constexpr int kPatienceMs = 60000;

/// Sets an environment variable (or removes it) for as long as the guard lives.
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

/// Puts the process into a time zone ("Asia/Kolkata") for as long as the guard lives.
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

/// Turns the library's logging category on and collects its messages for as long as the guard lives. All
/// other messages go where they would have gone.
/// One guard at a time.
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

    /// The messages of the category "qvutil" since the guard was made, whichever thread they came from.
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

/// Gives up the rights of the superuser, for whom every file can be read and written, for as long as the
/// guard lives. Does nothing for any other user. Folders on the way to a file must be open to everybody.
class UnprivilegedGuard
{
public:
    UnprivilegedGuard()
        : mActive(geteuid() == 0 && seteuid(kNobody) == 0)
    { }
    ~UnprivilegedGuard()
    {
        if (mActive && seteuid(0) != 0)
            qFatal("cannot become the superuser again");
    }
    Q_DISABLE_COPY_MOVE(UnprivilegedGuard)

private:
    static constexpr uid_t kNobody = 65534;
    bool mActive;
};

/// The whole content of a file; a null array if it cannot be read.
[[nodiscard]] inline QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = file.readAll();
    return content.isNull() ? QByteArray("") : content;
}

/// Replaces the whole content of a file. \return false if that failed
[[nodiscard]] inline bool WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size()
        && file.flush();
}

/// One line per node, attributes in the order of their names: equal for documents of equal meaning, and
/// readable where two differ.
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

/// What the document that a node belongs to says.
[[nodiscard]] inline QString DocumentMeaning(const QDomNode& node)
{
    QString result;
    AppendMeaning(node.ownerDocument(), QString(), result);
    return result;
}

/// What a document says, attribute order and indentation aside; "unreadable" if it does not parse.
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

/// Makes every warning of the program, and so everything the library would write to standard error, fail the
/// running test. Called by each init().
inline void FailOnAnyMessage()
{
    static const QRegularExpression any(QStringLiteral(".*"));
    QTest::failOnWarning(any);
}

} // namespace TestSupport

#endif // QVUTIL_TESTSUPPORT_H
