// Shared between the parts of the host layer; not installed.
#ifndef ZELL_HOST_INTERNAL_H
#define ZELL_HOST_INTERNAL_H

#include <cstdarg>
#include <cstddef>

namespace zell::host {

/** Empties the session table. */
void clear_sessions() noexcept;

/** Hands @p line to the log hook under @p handle, or writes it to stderr. */
void emit_line(const void *handle, const char *line) noexcept;

/**
 * A printf-formatted line of any length. Short lines stay in place; longer
 * ones take one block from malloc, never from the named heap, so logging
 * does not disturb allocation counts or fault injection.
 */
class FormattedLine {
  public:
    FormattedLine(const char *format, std::va_list args) noexcept;
    ~FormattedLine();
    FormattedLine(const FormattedLine &) = delete;
    FormattedLine &operator=(const FormattedLine &) = delete;

    const char *c_str() const noexcept { return text_; }

  private:
    char inline_[256];
    char *heap_ = nullptr;
    const char *text_ = inline_;
};

} // namespace zell::host

#endif // ZELL_HOST_INTERNAL_H
