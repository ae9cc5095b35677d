// The pages of the documentation that are generated: the table of operations, and the rules.
#ifndef TESTS_RETURN_CODES_PAGE_H
#define TESTS_RETURN_CODES_PAGE_H

#include <string>

namespace return_codes {

std::string RenderPage();
std::string RenderRulesPage();

} // namespace return_codes

#endif
