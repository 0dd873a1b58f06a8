// Public. Clang's thread-safety attributes by short names; nothing on other compilers.
// Clang checks them with -Wthread-safety: https://clang.llvm.org/docs/ThreadSafetyAnalysis.html
#ifndef UTIL_OS_LINUX_THREADANNOTATIONS_H
#define UTIL_OS_LINUX_THREADANNOTATIONS_H

// An attribute of Clang's, by its own name; for the macros below.
#if defined(__clang__)
#define TAVI_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define TAVI_THREAD_ATTRIBUTE(x)
#endif

// A class that is a lock, and one that holds a lock for a scope; what a field is guarded by; which
// locks a function wants held or not held, takes, releases or tries to take. A function of the last
// one is not looked into.
#define TAVI_CAPABILITY(name) TAVI_THREAD_ATTRIBUTE(capability(name))
#define TAVI_SCOPED_CAPABILITY TAVI_THREAD_ATTRIBUTE(scoped_lockable)
#define TAVI_GUARDED_BY(lock) TAVI_THREAD_ATTRIBUTE(guarded_by(lock))
#define TAVI_REQUIRES(...) TAVI_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define TAVI_EXCLUDES(...) TAVI_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define TAVI_ACQUIRE(...) TAVI_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define TAVI_RELEASE(...) TAVI_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define TAVI_TRY_ACQUIRE(...) TAVI_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define TAVI_NO_THREAD_SAFETY_ANALYSIS TAVI_THREAD_ATTRIBUTE(no_thread_safety_analysis)

#endif  // UTIL_OS_LINUX_THREADANNOTATIONS_H
