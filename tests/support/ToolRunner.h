// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOLRUNNER_H
#define QVUTIL_TOOLRUNNER_H

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <cerrno>
#include <cstdlib>
#include <functional>

#include <fcntl.h>
#include <grp.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace TestSupport {

/// The result of running the tool.
struct ToolResult
{
    int ExitCode = -1; ///< -1 if it crashed or did not end
    QByteArray Output;
    QByteArray Errors;

    /// Returns the result as one text: the output, the lines of the error output, each after "! ", and "=> "
    /// with the exit code.
    [[nodiscard]] QString ToText() const
    {
        QString text = QString::fromUtf8(Output);
        if (!text.isEmpty() && !text.endsWith(u'\n'))
            text += QStringLiteral("(no line break)\n");
        const QStringList lines = QString::fromUtf8(Errors).split(u'\n', Qt::SkipEmptyParts);
        for (const QString& line : lines)
            text += QStringLiteral("! ") + line + u'\n';
        return text + QStringLiteral("=> %1\n").arg(ExitCode);
    }
};

/// Runs the tool from the build tree as a process, in a new folder.
/// The test program must define QVUTIL_TOOL as the path of the tool.
class ToolRunner
{
public:
    /// Time-out in milliseconds, long enough for the slowest machine under sanitizers.
    static constexpr int kTimeoutMs = 120000;

    /// Returns a path in the folder that the tool runs in. After a failed test the folder is kept, see
    /// KeepFolder.
    [[nodiscard]] QString Path(const QString& file) const { return mFolder.filePath(file); }
    void KeepFolder() { mFolder.setAutoRemove(false); }

    /// Creates a file in the folder. \return false after a failure
    [[nodiscard]] bool Write(const QString& name, const QByteArray& content) const
    {
        QFile file(Path(name));
        return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size();
    }
    /// Returns the content of a file in the folder; a null array if it cannot be read.
    [[nodiscard]] QByteArray Read(const QString& name) const
    {
        QFile file(Path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Runs the tool with arguments and standard input.
    [[nodiscard]] ToolResult Run(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return RunProgram(QStringLiteral(QVUTIL_TOOL), arguments, input);
    }

    /// Runs the tool as an unprivileged user: as `nobody` if the test runs as root. That user needs access to
    /// the folder.
    [[nodiscard]] ToolResult RunUnprivileged(const QStringList& arguments) const
    {
        if (geteuid() != 0)
            return Run(arguments);
        const QString folder = CopyToolForAll();
        return RunProgram(folder + QStringLiteral("/qvutil"), arguments, {}, [folder](QProcess& process) {
            // Some systems forbid unprivileged users to trace a process, which the leak sanitizer does.
            QProcessEnvironment environment = process.processEnvironment();
            const QString name = QStringLiteral("ASAN_OPTIONS");
            environment.insert(name, environment.value(name) + QStringLiteral(":detect_leaks=0"));
            environment.insert(QStringLiteral("LD_LIBRARY_PATH"), folder);
            process.setProcessEnvironment(environment);
            process.setChildProcessModifier([] {
                constexpr uid_t kNobody = 65534;
                if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)
                    _exit(127);
            });
        });
    }

    /// Runs a shell command line, with the tool as $TOOL.
    [[nodiscard]] ToolResult RunShell(const QString& line) const
    {
        return RunProgram(QStringLiteral("sh"), {QStringLiteral("-c"), line}, {});
    }

    /// Runs the tool with standard output and standard error on a terminal.
    /// \return what appeared on the terminal, as Output
    [[nodiscard]] ToolResult RunOnTerminal(const QStringList& arguments, unsigned short columns = 80) const
    {
        const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
            return {};
        const int inner = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
        winsize size = {};
        size.ws_col = columns;
        size.ws_row = 24;
        ioctl(inner, TIOCSWINSZ, &size);

        QProcess process;
        Prepare(process);
        process.setChildProcessModifier([inner] {
            dup2(inner, STDOUT_FILENO);
            dup2(inner, STDERR_FILENO);
        });
        process.start(QStringLiteral(QVUTIL_TOOL), arguments);
        ToolResult result;
        const bool isStarted = process.waitForStarted(kTimeoutMs);
        close(inner);
        if (isStarted) {
            process.closeWriteChannel();
            char buffer[4096];
            for (;;) { // on Linux, read() fails once no process has the terminal open
                const ssize_t count = read(terminal, buffer, sizeof(buffer));
                if (count > 0)
                    result.Output.append(buffer, count);
                else if (count == 0 || errno != EINTR)
                    break;
            }
            if (process.waitForFinished(kTimeoutMs) || process.state() == QProcess::NotRunning)
                result.ExitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        }
        close(terminal);
        return result;
    }

    /// Starts the tool with arguments, without waiting.
    void Start(QProcess& process, const QStringList& arguments) const
    {
        Prepare(process);
        process.start(QStringLiteral(QVUTIL_TOOL), arguments);
    }
    /// Starts a shell command line, with the tool as $TOOL, without waiting.
    void StartShell(QProcess& process, const QString& line) const
    {
        Prepare(process);
        process.start(QStringLiteral("sh"), {QStringLiteral("-c"), line});
    }

private:
    /// Copies the tool and its libraries, except the system's, to a folder where every user can run it. The
    /// build tree may be in root's home folder, which other users cannot enter.
    /// \return the folder of the copies
    [[nodiscard]] QString CopyToolForAll() const
    {
        const QDir folder(Path(QStringLiteral("tool-for-all")));
        if (folder.exists())
            return folder.path();
        folder.mkpath(QStringLiteral("."));
        QFile::setPermissions(folder.path(), QFile::Permissions(0x7755));
        QFile::copy(QStringLiteral(QVUTIL_TOOL), folder.filePath(QStringLiteral("qvutil")));

        QProcess ldd;
        ldd.start(QStringLiteral("ldd"), {QStringLiteral(QVUTIL_TOOL)});
        ldd.waitForFinished(kTimeoutMs);
        static const QRegularExpression pattern(QStringLiteral(R"(=> (/(?!usr/|lib).*) \(0x[0-9a-f]+\)$)"),
                                                QRegularExpression::MultilineOption);
        QRegularExpressionMatchIterator matches
            = pattern.globalMatch(QString::fromLocal8Bit(ldd.readAllStandardOutput()));
        while (matches.hasNext()) {
            const QString library = matches.next().captured(1);
            QFile::copy(library, folder.filePath(QFileInfo(library).fileName()));
        }
        return folder.path();
    }

    void Prepare(QProcess& process) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TOOL"), QStringLiteral(QVUTIL_TOOL));
        environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        environment.remove(QStringLiteral("COLUMNS"));
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(mFolder.path());
    }

    [[nodiscard]] ToolResult RunProgram(const QString& program, const QStringList& arguments,
                                        const QByteArray& input,
                                        const std::function<void(QProcess&)>& change = {}) const
    {
        QProcess process;
        Prepare(process);
        if (change)
            change(process);
        process.start(program, arguments);
        ToolResult result;
        if (!process.waitForStarted(kTimeoutMs))
            return result;
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(kTimeoutMs)) {
            process.kill();
            process.waitForFinished(kTimeoutMs);
            return result;
        }
        result.ExitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        result.Output = process.readAllStandardOutput();
        result.Errors = process.readAllStandardError();
        return result;
    }

    QTemporaryDir mFolder;
};

} // namespace TestSupport

#endif // QVUTIL_TOOLRUNNER_H
