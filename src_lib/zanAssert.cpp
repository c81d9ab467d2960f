#include "zanAssert.h"

#include "messages.h"

#include <ostream>
#include <string>

namespace TESK_ZAN
{

// Out of line: the class's type information then lives in the library alone, so hosts can catch it by type.
ZanBugException::~ZanBugException() = default;

const char* ZanBugException::what() const noexcept
{
    return "ZAN Exception - Bug OR incorrect usage. Kindly report any bugs to ensure they are solved "
           "quickly!";
}

void reportFailure(const char* file, int line, const char* function, const char* condition)
{
    messageStream() << "      " << file << ":" << line << "\n      " << function << std::flush;
    zanError("ASSEX", std::string("Condition [ ") + condition + " failed ]");
    throw ZanBugException();
}

} // namespace TESK_ZAN
