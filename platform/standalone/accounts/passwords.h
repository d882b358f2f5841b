#pragma once
// The web server's password file (kPasswordFile): NAME:HASH a line, the hash in crypt(3)'s form, as
// lighttpd's mod_authn_file reads it with the backend "htpasswd".

#include <string>
#include <string_view>

namespace vexo::accounts {

/// Sets the password of `name`. Throws std::invalid_argument for a password that cannot be one
/// (empty, over 512 bytes, a line break or NUL in it), std::system_error when writing fails.
void SetPassword(std::string_view name, const std::string &password);

/// Removes the password of `name`; one without a password is passed over.
void RemovePassword(std::string_view name);

/// A password of 100 random bits, without letters that look alike.
std::string GeneratePassword();

} // namespace vexo::accounts
