#pragma once
// The web server's password file (kPasswordFile): NAME:HASH a line, the hash in crypt(3)'s form, as
// lighttpd's mod_authn_file reads it with the backend "htpasswd".

#include <string>
#include <string_view>

namespace vexo::accounts {

/// Whether this can be a password: 1 to 512 bytes, no line breaks, no NUL.
bool CanBePassword(std::string_view password);

/// Sets the password of `name`. Throws std::invalid_argument for a password that cannot be one,
/// std::system_error when writing fails.
void SetPassword(std::string_view name, const std::string &password);

/// Removes the password of `name`; one without a password is passed over.
void RemovePassword(std::string_view name);

/// Whether `password` is that of `name`, by the first line that the file has for it, as the web
/// server goes by it. It takes as long for a name without a line, and compares in constant time, so
/// that a stranger learns nothing of which names there are. A password that cannot be one is
/// refused at once, whoever asks. Throws std::system_error when the file cannot be read or the
/// password not be hashed.
[[nodiscard]] bool VerifyPassword(std::string_view name, const std::string &password);

/// A password of 100 random bits, without letters that look alike.
std::string GeneratePassword();

} // namespace vexo::accounts
