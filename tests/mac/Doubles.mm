// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Doubles.h"

#include <qvutil/StringUtil.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#import <AppKit/NSRunningApplication.h>
#include <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>
#include <copyfile.h>
#include <dlfcn.h>
#include <linux/sockios.h>
#include <mach-o/dyld.h>
#include <mach-o/loader.h>
#include <objc/runtime.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace {

// CoreFoundation

Doubles::Locale gLocaleAnswers;
Doubles::LocaleCalls gLocaleCalls;
QByteArray gIdentifierInSystemEncoding;

// Objects are identified by address. One locale at a time can be owned; its identifier is released with it.
const char kLocaleObject = 0;
const char kIdentifierObject = 0;

bool IsAlive()
{
    return gLocaleCalls.Copies > gLocaleCalls.Releases;
}

void CountMisuseUnless(bool proper)
{
    if (!proper)
        ++gLocaleCalls.Misuses;
}

bool IsIdentifier(CFStringRef string)
{
    return reinterpret_cast<const char*>(string) == &kIdentifierObject && IsAlive();
}

// Foundation's folder search

QString gAppendedFolder;

// copyfile

int gAccessListCopyResult = 0;
QList<std::uint32_t> gFileCopies;

// The dynamic loader

QList<Doubles::Image> gImages;
QList<mach_header> gHeaders;
int gGreatestImageIndex = -1;

// AppKit and Foundation

QList<qint64> gRunning;
Doubles::ApplicationCalls gApplicationCalls;

thread_local int gOpenPools = 0;
std::atomic<int> gPoolsMade = 0;
id (*gPoolInit)(id, SEL) = nullptr;
void (*gPoolDealloc)(id, SEL) = nullptr;

id CountPoolInit(id self, SEL selector)
{
    ++gOpenPools;
    ++gPoolsMade;
    return gPoolInit(self, selector);
}

void CountPoolDealloc(id self, SEL selector)
{
    --gOpenPools;
    gPoolDealloc(self, selector);
}

// Converts between a method's real type and IMP. Newer compilers warn about a direct cast.
template <typename To, typename From> To CastMethod(From function)
{
    return reinterpret_cast<To>(reinterpret_cast<void*>(function));
}

template <typename Function> Function Replace(Class type, SEL selector, Function function)
{
    Method method = class_getInstanceMethod(type, selector);
    const IMP old = method_getImplementation(method);
    // If this class inherits the method, add it, so that the parent class does not change.
    if (!class_addMethod(type, selector, CastMethod<IMP>(function), method_getTypeEncoding(method)))
        method_setImplementation(method, CastMethod<IMP>(function));
    return CastMethod<Function>(old);
}

} // namespace

// A result of NSRunningApplication that counts its instances.
@interface CountedApplication : NSObject
@end

@implementation CountedApplication

- (id)init
{
    ++gApplicationCalls.ObjectsAlive;
    return [super init];
}

- (void)dealloc
{
    --gApplicationCalls.ObjectsAlive;
    [super dealloc];
}

@end

namespace {

id FindRunningApplication(id /*self*/, SEL /*selector*/, pid_t processId)
{
    gApplicationCalls.ProcessIds.append(processId);
    return gRunning.contains(processId) ? [[[CountedApplication alloc] init] autorelease] : nil;
}

} // namespace

extern "C" {

// Replaces Foundation's function and calls it. Foundation finds one folder of each kind here; on macOS there
// may be more.
NSArray* NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory, NSSearchPathDomainMask domain,
                                             BOOL expandTilde)
{
    static const auto real = reinterpret_cast<decltype(&NSSearchPathForDirectoriesInDomains)>(
        dlsym(RTLD_NEXT, "NSSearchPathForDirectoriesInDomains"));
    NSArray* folders = real(directory, domain, expandTilde);
    if (gAppendedFolder.isEmpty())
        return folders;
    return [folders arrayByAddingObject:[NSString stringWithUTF8String:gAppendedFolder.toUtf8().constData()]];
}

CFLocaleRef CFLocaleCopyCurrent()
{
    CountMisuseUnless(!IsAlive());
    ++gLocaleCalls.Copies;
    return reinterpret_cast<CFLocaleRef>(&kLocaleObject);
}

CFStringRef CFLocaleGetIdentifier(CFLocaleRef locale)
{
    CountMisuseUnless(reinterpret_cast<const char*>(locale) == &kLocaleObject && IsAlive());
    return reinterpret_cast<CFStringRef>(&kIdentifierObject);
}

CFStringEncoding CFStringGetSystemEncoding()
{
    return gLocaleAnswers.SystemEncoding;
}

const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding)
{
    CountMisuseUnless(IsIdentifier(string));
    gLocaleCalls.PointerEncodings.append(encoding);
    if (encoding == gLocaleAnswers.SystemEncoding && gLocaleAnswers.HasSystemEncodingPointer)
        return gIdentifierInSystemEncoding.constData();
    if (encoding == kCFStringEncodingUTF8 && gLocaleAnswers.HasUtf8Pointer)
        return gLocaleAnswers.Identifier.constData();
    return nullptr;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding)
{
    CountMisuseUnless(IsIdentifier(string) && buffer != nullptr);
    gLocaleCalls.BufferSizes.append(bufferSize);
    gLocaleCalls.ConversionEncodings.append(encoding);
    const CFIndex needed
        = gLocaleAnswers.Identifier.size() + (gLocaleAnswers.ConvertsWithoutTerminator ? 0 : 1);
    if (encoding != kCFStringEncodingUTF8 || bufferSize < needed) {
        std::memset(buffer, '?', static_cast<std::size_t>(bufferSize)); // undefined content
        return 0;
    }
    std::memcpy(buffer, gLocaleAnswers.Identifier.constData(), static_cast<std::size_t>(needed));
    return 1;
}

CFIndex CFStringGetLength(CFStringRef string)
{
    CountMisuseUnless(IsIdentifier(string));
    return QString::fromUtf8(gLocaleAnswers.Identifier).size();
}

void CFRelease(CFTypeRef object)
{
    CountMisuseUnless(object == &kLocaleObject && IsAlive());
    ++gLocaleCalls.Releases;
    // The memory of a released object has undefined content.
    gIdentifierInSystemEncoding.fill('?');
    gLocaleAnswers.Identifier.fill('?');
}

int fcopyfile(int from, int to, copyfile_state_t state, copyfile_flags_t flags)
{
    if (from < 0 || to < 0 || state != nullptr)
        return -1;
    gFileCopies.append(flags);
    return flags == COPYFILE_ACL ? gAccessListCopyResult : 0;
}

std::uint32_t _dyld_image_count()
{
    return static_cast<std::uint32_t>(gImages.size());
}

const mach_header* _dyld_get_image_header(std::uint32_t index)
{
    gGreatestImageIndex = std::max(gGreatestImageIndex, static_cast<int>(index));
    return index < gImages.size() && gImages.at(index).HasHeader ? &gHeaders.at(index) : nullptr;
}

const char* _dyld_get_image_name(std::uint32_t index)
{
    gGreatestImageIndex = std::max(gGreatestImageIndex, static_cast<int>(index));
    return index < gImages.size() && gImages.at(index).Path ? gImages.at(index).Path->constData() : nullptr;
}
}

extern "C" int getpeereid(int socket, uid_t* user, gid_t* group)
{
    ucred peer = {};
    socklen_t length = sizeof(peer);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == -1)
        return -1;
    *user = peer.uid;
    *group = peer.gid;
    return 0;
}

// Replaces the system's function, for which SO_NWRITE has another meaning.
extern "C" int getsockopt(int socket, int level, int option, void* value, socklen_t* length) noexcept
{
    if (level == SOL_SOCKET && option == SO_NWRITE)
        return ioctl(socket, SIOCOUTQ, value);
    static const auto real = reinterpret_cast<decltype(&getsockopt)>(dlsym(RTLD_NEXT, "getsockopt"));
    return real(socket, level, option, value, length);
}

namespace Doubles {

void SetLocale(const Locale& locale)
{
    gLocaleAnswers = locale;
    gIdentifierInSystemEncoding = locale.Identifier;
    gIdentifierInSystemEncoding.detach();
    gLocaleAnswers.Identifier.detach();
    gLocaleCalls = {};
}

LocaleCalls GetLocaleCalls()
{
    return gLocaleCalls;
}

void SetAccessListCopyResult(int result)
{
    gAccessListCopyResult = result;
    gFileCopies.clear();
}

QList<std::uint32_t> GetFileCopies()
{
    return gFileCopies;
}

void SetImages(const QList<Image>& images)
{
    gImages = images;
    gHeaders.clear();
    for (const Image& image : images)
        gHeaders.append({0xfeedfacf, 0x01000007, 3, image.FileType});
    gGreatestImageIndex = -1;
}

int GetGreatestImageIndex()
{
    return gGreatestImageIndex;
}

void WatchRunningApplications(const QList<qint64>& running)
{
    static const bool replaced = [] {
        Replace(object_getClass([NSRunningApplication class]),
                @selector(runningApplicationWithProcessIdentifier:), &FindRunningApplication);
        return true;
    }();
    Q_UNUSED(replaced)
    gRunning = running;
    gApplicationCalls = {};
}

ApplicationCalls GetApplicationCalls()
{
    return gApplicationCalls;
}

void WatchPools()
{
    Class pool = [NSAutoreleasePool class];
    gPoolInit = Replace(pool, @selector(init), &CountPoolInit);
    gPoolDealloc = Replace(pool, @selector(dealloc), &CountPoolDealloc);
}

int GetOpenPools()
{
    return gOpenPools;
}

int GetPoolsMade()
{
    return gPoolsMade;
}

int CountObjectsLeftBehind(const std::function<void()>& action)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    action();
    const auto count = static_cast<int>([pool autoreleaseCount]);
    [pool release];
    return count;
}

void AppendFolderToSearches(const QString& folder)
{
    gAppendedFolder = folder;
}

QStringList ListFolders(Folder folder)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSArray* paths = nil;
    switch (folder) {
    case Folder::UserApplicationSupport:
        paths = NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSUserDomainMask, YES);
        break;
    case Folder::LocalApplicationSupport:
        paths = NSSearchPathForDirectoriesInDomains(NSApplicationSupportDirectory, NSLocalDomainMask, YES);
        break;
    case Folder::SystemLibrary:
        paths = NSSearchPathForDirectoriesInDomains(NSLibraryDirectory, NSSystemDomainMask, YES);
        break;
    }
    QStringList result;
    for (NSString* path in paths)
        result.append(QString::fromUtf8([path UTF8String]));
    [pool release];
    return result;
}

QString ConvertThroughNSString(const QString& text)
{
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSString* string = [NSString stringWithCharacters:reinterpret_cast<const unichar*>(text.utf16())
                                               length:static_cast<NSUInteger>(text.size())];
    const QString result = Quorvin::Util::StringUtil::NSStringToQString(string);
    [pool release];
    return result;
}

QString ConvertNil()
{
    return Quorvin::Util::StringUtil::NSStringToQString(nil);
}

} // namespace Doubles
