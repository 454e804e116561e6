#include "session/command_input.h"

#include "core/hex_text.h"
#include "session/session.h"

namespace velmora {

int16_t EnterCommandLine(Session& session, std::string_view text) {
  // After _quit nothing more runs, whatever is still queued.
  if (text.empty() || session.QuitRequested()) return 0;
  if (text[0] == '_') return session.interpreter().ExecuteCommand(text);
  Link& link = session.link();
  if (!link.EnsurePortOpen()) return 0;
  Transport& transport = link.transport();
  Exchange exchange(transport);
  if (text[0] == ':') {
    for (size_t i = 1; i + 1 < text.size(); i += 2) {
      const int32_t value = HexVal(text.substr(i, 2));
      if (value < 0) continue;
      transport.SSSend(static_cast<uint8_t>(value));
      session.log.WriteLine("-> SENDING: " + HexN(value, 2));
    }
    return 0;
  }
  session.log.WriteLine("-> SENDING: " + std::string(text));
  for (char ch : text) transport.SSSend(static_cast<uint8_t>(ch));
  return 0;
}

}  // namespace velmora
