// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_BENCHMARKS_CONTESTANT_H
#define QVUTIL_BENCHMARKS_CONTESTANT_H

#include <QString>
#include <QVariantMap>

#include <memory>
#include <string>
#include <vector>

/// One way for two processes to exchange messages. The other process is this program with different
/// arguments.
class Contestant
{
public:
    Contestant() = default;
    Q_DISABLE_COPY_MOVE(Contestant)
    virtual ~Contestant() = default;

    /// Sets the parameters that Ask and Tell send. Contestants that send only bytes encode them here.
    virtual void SetParameters(const QVariantMap& params) = 0;
    /// Sends a request and waits for the answer. \return false if none arrived
    [[nodiscard]] virtual bool Ask() = 0;
    /// \return whether the last answer's parameters are those of the request
    [[nodiscard]] virtual bool IsAnswered() const = 0;
    /// Sends a message, which the other process counts. \return false if it cannot be sent
    [[nodiscard]] virtual bool Tell() = 0;
    /// Waits until the other process has counted all messages so far.
    /// \return how many arrived since the last call; -1 if it does not answer
    [[nodiscard]] virtual int TakeCount() = 0;
};

/// The two ends of a contestant. Both receive the same address: the path of a file that does not exist yet,
/// in a folder that is removed at the end.
struct ContestantKind
{
    std::string Name;
    /// Connects to the other process, which must be ready. \return null after a failure
    std::unique_ptr<Contestant> (*Connect)(const QString& address);
    /// Runs the other process: calls AnnounceReady, and returns when the application quits.
    int (*Serve)(const QString& address);
};

/// Reports that the process accepts connections.
void AnnounceReady();

/// Time-out of a request, in milliseconds. A contestant that exceeds it fails.
inline constexpr int kAnswerTimeoutMs = 60'000;

// Each function is defined in a separate source file.
std::vector<ContestantKind> GetQvUtilKinds();
std::vector<ContestantKind> GetBytesKinds();
std::vector<ContestantKind> GetRemoteObjectsKinds();
std::vector<ContestantKind> GetDBusKinds();

#endif // QVUTIL_BENCHMARKS_CONTESTANT_H
