// What the library exports. A public class or function carries LMK_API.
//
// A public constant of a class is a `static const` with a definition in the source file. As `static
// constexpr` it would be inline, and a Windows DLL has those only where it uses them itself: a caller that
// binds a reference to one, as std::max does, would not link.
//
// LMK_BUILDING   while the library itself is compiled
// LMK_STATIC     while its objects are linked into a program directly (white-box tests)
#ifndef LMKUTILS_EXPORT_H
#define LMKUTILS_EXPORT_H

#if defined(LMK_STATIC)
#define LMK_API
#elif defined(_WIN32)
#if defined(LMK_BUILDING)
#define LMK_API __declspec(dllexport)
#else
#define LMK_API __declspec(dllimport)
#endif
#else
#define LMK_API __attribute__((visibility("default")))
#endif

#endif
