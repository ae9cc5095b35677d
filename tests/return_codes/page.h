// The table of operations as the page of the documentation.
#ifndef TESTS_RETURN_CODES_PAGE_H
#define TESTS_RETURN_CODES_PAGE_H

#include <string>

namespace return_codes {

std::string RenderPage();

} // namespace return_codes

#endif
