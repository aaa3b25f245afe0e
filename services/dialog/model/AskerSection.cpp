#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/Sections.h"

DialogSection makeAskerSection(const Asker& asker) {
  DialogSection section{"asker", "Who asks, as the kernel tells it", DialogTone::plain, {}};
  section.lines = {asker.program.empty() ? field("program", "(cannot be told)", DialogTone::doubt)
                                         : quoted("program", asker.program),
                   field("process", std::to_string(asker.process)), quoted("user", asker.user)};
  return section;
}
