// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "platform/DebugOutput_p.h"
#include "platform/FoundationText_p.h"
#include "platform/Platform_p.h"

#include <limits>
#include <vector>

#import <AppKit/NSRunningApplication.h>
#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>
#include <copyfile.h>
#include <mach-o/dyld.h>
#include <mach-o/loader.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Releases temporary Foundation objects, because the caller's thread may have no pool.
class AutoreleasePool
{
public:
    AutoreleasePool() = default;
    ~AutoreleasePool() { [mPool release]; }
    Q_DISABLE_COPY_MOVE(AutoreleasePool)

private:
    NSAutoreleasePool* mPool = [[NSAutoreleasePool alloc] init];
};

// Returns the first of the system's standard folders of a kind; empty if there is none.
QString FindFolder(NSSearchPathDirectory directory, NSSearchPathDomainMask domain)
{
    const AutoreleasePool pool;
    NSArray* folders = NSSearchPathForDirectoriesInDomains(directory, domain, YES);
    return [folders count] == 0 ? QString() : Platform::FromFoundation([folders objectAtIndex:0]);
}

QByteArray ReadIdentifier(CFStringRef identifier)
{
    const char* text = CFStringGetCStringPtr(identifier, CFStringGetSystemEncoding());
    if (text == nullptr)
        text = CFStringGetCStringPtr(identifier, kCFStringEncodingUTF8);
    if (text != nullptr)
        return text;
    // The first size leaves no room for the terminator, so the first call may fail and leave the buffer
    // undefined. Short identifiers have no pointer and depend on the second call.
    constexpr CFIndex kMaxBytesPerUnit = 3; // UTF-8 bytes for one UTF-16 unit
    const CFIndex length = CFStringGetLength(identifier);
    std::vector<char> buffer(static_cast<std::size_t>(length * kMaxBytesPerUnit) + 1);
    for (const CFIndex size : {length, static_cast<CFIndex>(buffer.size())}) {
        if (CFStringGetCString(identifier, buffer.data(), size, kCFStringEncodingUTF8) != 0)
            return QByteArray(buffer.data());
    }
    return {};
}

} // namespace

namespace Platform {

QString FromFoundation(NSString* string)
{
    const NSUInteger length = [string length]; // 0 for nil
    std::vector<unichar> units(length);
    [string getCharacters:units.data() range:NSMakeRange(0, length)];
    static_assert(sizeof(unichar) == sizeof(char16_t));
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(units.data()),
                              static_cast<qsizetype>(length));
}

QByteArray GetUserLocaleIdentifier()
{
    const CFLocaleRef locale = CFLocaleCopyCurrent();
    const QByteArray identifier = ReadIdentifier(CFLocaleGetIdentifier(locale));
    CFRelease(locale);
    return identifier;
}

QString GetUserApplicationSupportFolder()
{
    return FindFolder(NSApplicationSupportDirectory, NSUserDomainMask);
}

QString GetMachineApplicationSupportFolder()
{
    return FindFolder(NSApplicationSupportDirectory, NSLocalDomainMask);
}

QString GetSystemLibraryFolder()
{
    return FindFolder(NSLibraryDirectory, NSSystemDomainMask);
}

QString ResolveSymbolicLinks(const QString& path)
{
    const AutoreleasePool pool;
    NSString* const text = [NSString stringWithUTF8String:path.toUtf8().constData()];
    return FromFoundation([text stringByResolvingSymlinksInPath]);
}

// On macOS, lists do not contain the permissions of the file's group.
AccessListCopy CopyFileAttributes(int from, int to, bool /*isSameGroup*/)
{
    ::fcopyfile(from, to, nullptr, COPYFILE_XATTR);
    return ::fcopyfile(from, to, nullptr, COPYFILE_ACL) == 0 ? AccessListCopy::Complete
                                                             : AccessListCopy::Failed;
}

bool IsProcessRunning(qint64 processId)
{
    // A larger number would be truncated to the id of another process.
    if (processId < std::numeric_limits<pid_t>::min() || processId > std::numeric_limits<pid_t>::max())
        return false;
    const AutoreleasePool pool;
    const auto pid = static_cast<pid_t>(processId);
    return [NSRunningApplication runningApplicationWithProcessIdentifier:pid] != nil;
}

QStringList GetLoadedLibraries()
{
    QStringList paths;
    const uint32_t count = _dyld_image_count();
    for (uint32_t i = 0; i < count; ++i) {
        // If another thread unloads an image during the loop, the loader returns null.
        const mach_header* const header = _dyld_get_image_header(i);
        const char* const name = _dyld_get_image_name(i);
        if (header != nullptr && header->filetype == MH_DYLIB && name != nullptr)
            paths.append(QString::fromUtf8(name));
    }
    return paths;
}

QLatin1StringView GetLibrarySuffix()
{
    return ".dylib"_L1;
}

QStringView RemoveLibraryVersion(QStringView fileName)
{
    return fileName; // the version precedes the suffix and is part of the name
}

qsizetype EnlargeSendBuffer(qintptr socket, int bytes)
{
    const int descriptor = static_cast<int>(socket);
    int size = 0;
    socklen_t length = sizeof(size);
    if (::getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, &length) == -1)
        return 0;
    // A request above kern.ipc.maxsockbuf fails; it is not reduced to that limit.
    for (int wish = bytes; wish > size; wish /= 2) {
        if (::setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &wish, sizeof(wish)) == 0)
            break;
    }
    ::getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, &length);
    return size;
}

qint64 GetUnreadBytes(qintptr socket)
{
    int bytes = 0;
    socklen_t length = sizeof(bytes);
    const int result = ::getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_NWRITE, &bytes, &length);
    return result == -1 ? 0 : bytes;
}

std::optional<quint32> GetPeerUserId(qintptr socket)
{
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(static_cast<int>(socket), &user, &group) == -1)
        return std::nullopt;
    return user;
}

qsizetype GetMaxSocketPathLength()
{
    return static_cast<qsizetype>(sizeof(sockaddr_un::sun_path)) - 1; // for the terminating 0
}

bool HasDebugOutput()
{
    return false;
}

void WriteDebugOutput(const QString& /*text*/) { }

void WriteDebugOutput(const wchar_t* /*text*/) { }

} // namespace Platform
} // namespace Quorvin::Util
