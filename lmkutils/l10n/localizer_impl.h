// What the localizers of one resource share, and how an application substitutes its own.
#ifndef LMKUTILS_L10N_LOCALIZER_IMPL_H
#define LMKUTILS_L10N_LOCALIZER_IMPL_H

#include <string>
#include <vector>

#include "lmkutils/export.h"
#include "lmkutils/l10n/lmtrb.h"
#include "lmkutils/l10n/localizer.h"
#include "lmkutils/memory/common_allocated.h"
#include "lmkutils/memory/ref_counted.h"

namespace du {

// The tables of one resource: the primary one, of the user's language, and the fallback, the English one;
// either may be absent. Set up once, by Initialize, and only read afterwards, by any number of threads.
class LMK_API Localizer::Impl : public CommonAllocated, public RefCounted {
 public:
  explicit Impl(const Symbol& resourceName);
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() override;

  Symbol GetDebugClassName() const override;  // "Localizer::Impl"

  // Puts the message into `out` and returns true. False, and `out` as it was, when neither table has the tag
  // or the number of arguments is wrong, which is traced for kReportFailure. Throw std::bad_alloc.
  virtual bool LocalizeMessage(const char* tag, std::string& out, ActionOnFailure action,
                               const std::vector<std::string>& args) const;
  virtual bool LocalizeMessage(const char* tag, std::string& out, ActionOnFailure action) const;

  // Loads the tables; called once, by the first localizer of the name. Throws LocalizerError
  //   resource "NAME" appears to not be in <product>:<resource> format.
  //   Couldn't find a strings file for resource "NAME".
  // and what LoadLmtrbFile and CheckPrimary throw.
  void Initialize();

  const Symbol& GetResourceName() const noexcept { return resourceName_; }
  // As Localizer::AddAllStrings.
  void AddAllStrings(HashMap<Symbol, Symbol>& map) const;

 protected:
  // Loads a strings file; `path` is as dp::LmInfo gave it. The caller owns the table. Throws LocalizerError
  //   Couldn't read strings file resource "PATH".
  // and what Lmtrb throws. A substitute may load it from elsewhere; null counts as unreadable.
  virtual Lmtrb* LoadLmtrbFile(const std::string& path, Lmtrb::PseudoLocalizeOption option);

 private:
  // Called when the primary table has been loaded; does nothing here.
  virtual void CheckPrimary() const;

  SmartPtr<Lmtrb> LoadTable(const std::string& path, bool pseudoLocalize);

  Symbol resourceName_;
  SmartPtr<Lmtrb> primary_;
  SmartPtr<Lmtrb> fallback_;
};

// Makes the shared objects. An application's own one may make objects of a class of its own.
class LMK_API LocalizerImplGenerator {
 public:
  LocalizerImplGenerator() = default;
  LocalizerImplGenerator(const LocalizerImplGenerator&) = delete;
  LocalizerImplGenerator& operator=(const LocalizerImplGenerator&) = delete;

  // A new object for the name, which the caller owns and initialises. It is called under the lock that
  // localizers are made under; it may make localizers of other resources itself, while one of the same name
  // is empty. What it throws, and null, leave the localizer empty.
  virtual Localizer::Impl* Create(const Symbol& resourceName) = 0;

 protected:
  ~LocalizerImplGenerator() = default;  // never deleted as one: its owner knows its class
};

// Replaces the generator of the process for resources that are not set up yet; null brings back the library's
// own. Not owned: it must live until another one takes its place. Any thread.
LMK_API void SetLocalizerImplGenerator(LocalizerImplGenerator* generator);

}  // namespace du

#endif
