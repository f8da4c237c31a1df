#include <iostream>
#include <sstream>
#include <string>

#include <lmkutils/lmkutils.h>

int main() {
  // Asks the environment: LUMORA_TRACE=stdout, or the path of a file, shows what tracers say.
  dp::LMTraceController::Instance().Initialize();
  static const dp::LMTracer tracer("first", "main");

  std::istringstream german("SIZE.value=Die Datei \"{1}\" hat {0} Byte.\n");  // a file, as a rule
  const du::SmartPtr<du::Lmtrb> texts(new du::Lmtrb(german, "first_de.lmtrb", du::Lmtrb::kAsWritten));

  const du::FileSpec part(R"(C:\parts\gearbox\shaft.prt)");
  std::string name;
  part.GetFile(&name);
  tracer(dp::TraceType::Info) << "measuring " << name;

  texts->BuildLocalizedString(std::cout, "SIZE", true, {"4096", name});
  std::cout << '\n';
}
