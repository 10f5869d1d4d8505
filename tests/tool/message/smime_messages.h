// What the body of an application/pkcs7-mime part looks like. Made with OpenSSL 3.0.19 from kSignedText, with
// -outform DER, a P-256 key made for it and thrown away, and its own certificate for CN=Zoë Beispiel, which names
// zoe@example.net as an alternative. In base64.
#pragma once

#include <string_view>

namespace emltool::smime_messages {

inline constexpr std::string_view kSignedText =
    "Content-Type: text/plain; charset=utf-8\r\n"
    "\r\n"
    "Signed hello.\r\n";

// DER, with the certificate: openssl cms -sign -nodetach -binary -nosmimecap -md sha256
inline constexpr std::string_view kSigned =
    "MIIC8QYJKoZIhvcNAQcCoIIC4jCCAt4CAQExDTALBglghkgBZQMEAgEwSQYJKoZIhvcNAQcBoDwEOkNvbnRlbnQtVHlwZTog"
    "dGV4dC9wbGFpbjsgY2hhcnNldD11dGYtOA0KDQpTaWduZWQgaGVsbG8uDQqgggFzMIIBbzCCARWgAwIBAgIULT585hOsXg4E"
    "v16eMbSrQmh/hWowCgYIKoZIzj0EAwIwGDEWMBQGA1UEAwwNWm/DqyBCZWlzcGllbDAeFw0yNjExMjIwNjUxMTJaFw0zNjEx"
    "MTkwNjUxMTJaMBgxFjAUBgNVBAMMDVpvw6sgQmVpc3BpZWwwWTATBgcqhkjOPQIBBggqhkjOPQMBBwNCAATlco7gT9xM8HYV"
    "zA8tY65xs8b05LkBbqMxWgQjvvIjSoSopZcx5XI+C6TsVHKRsIB77UbdR8s8l1reJ7m2YiP2oz0wOzAaBgNVHREEEzARgQ96"
    "b2VAZXhhbXBsZS5uZXQwHQYDVR0OBBYEFKH6gfcc/hmScdAA5U3xmGuzIEYXMAoGCCqGSM49BAMCA0gAMEUCIA26yAppOs2v"
    "EvmRlxLK7EL2wk324D+uRO/iTmTTlrxRAiEAvm/WJ1Yu9DMjVDhYnvi7lucOl99L3J01KNMml3qev7IxggEGMIIBAgIBATAw"
    "MBgxFjAUBgNVBAMMDVpvw6sgQmVpc3BpZWwCFC0+fOYTrF4OBL9enjG0q0Jof4VqMAsGCWCGSAFlAwQCAaBpMBgGCSqGSIb3"
    "DQEJAzELBgkqhkiG9w0BBwEwHAYJKoZIhvcNAQkFMQ8XDTI2MTEyMjA2NTExMlowLwYJKoZIhvcNAQkEMSIEIDyS/iDI6s0c"
    "aJeee+2833Pw9mkZOv91q3XT6Y6laiBvMAoGCCqGSM49BAMCBEcwRQIgNXHkEK60XptcfDq3THPB9lFJ5aqXkbc7ZoMjpJMD"
    "6FcCIQDZbe4shZq37w87x6btS3opUx5H8kgBQ1j6sfP7CyfPSA==";

// BER, of lengths that follow the content: the same with -nocerts -noattr -stream -indef
inline constexpr std::string_view kSignedBer =
    "MIAGCSqGSIb3DQEHAqCAMIACAQExDTALBglghkgBZQMEAgEwgAYJKoZIhvcNAQcBoIAkgAQ6Q29udGVudC1UeXBlOiB0ZXh0"
    "L3BsYWluOyBjaGFyc2V0PXV0Zi04DQoNClNpZ25lZCBoZWxsby4NCgAAAAAAADGBmjCBlwIBATAwMBgxFjAUBgNVBAMMDVpv"
    "w6sgQmVpc3BpZWwCFC0+fOYTrF4OBL9enjG0q0Jof4VqMAsGCWCGSAFlAwQCATAKBggqhkjOPQQDAgRHMEUCIQDLTkwnAx5a"
    "nDkCWPooTDvWnJirqnBFvcMeS7Kzf05C+AIgLfA8ZRLytkH6IUX2U0BxloUjlMNugPUoEm5PSgY5a80AAAAAAAA=";

// The signature alone: the same with -nocerts -noattr, without -nodetach
inline constexpr std::string_view kDetached =
    "MIHOBgkqhkiG9w0BBwKggcAwgb0CAQExDTALBglghkgBZQMEAgEwCwYJKoZIhvcNAQcBMYGbMIGYAgEBMDAwGDEWMBQGA1UE"
    "AwwNWm/DqyBCZWlzcGllbAIULT585hOsXg4Ev16eMbSrQmh/hWowCwYJYIZIAWUDBAIBMAoGCCqGSM49BAMCBEgwRgIhAOsd"
    "mFrY9R9A5071cenHIzMYyzAgXsxE1rTEn3aqM0jaAiEAvwVl5YPKsSAAYYcW46IOC5BiSbwH3cnyo10Kfcn5zQc=";

// openssl crl2pkcs7 -nocrl
inline constexpr std::string_view kCertificates =
    "MIIBngYJKoZIhvcNAQcCoIIBjzCCAYsCAQExADALBgkqhkiG9w0BBwGgggFzMIIBbzCCARWgAwIBAgIULT585hOsXg4Ev16e"
    "MbSrQmh/hWowCgYIKoZIzj0EAwIwGDEWMBQGA1UEAwwNWm/DqyBCZWlzcGllbDAeFw0yNjExMjIwNjUxMTJaFw0zNjExMTkw"
    "NjUxMTJaMBgxFjAUBgNVBAMMDVpvw6sgQmVpc3BpZWwwWTATBgcqhkjOPQIBBggqhkjOPQMBBwNCAATlco7gT9xM8HYVzA8t"
    "Y65xs8b05LkBbqMxWgQjvvIjSoSopZcx5XI+C6TsVHKRsIB77UbdR8s8l1reJ7m2YiP2oz0wOzAaBgNVHREEEzARgQ96b2VA"
    "ZXhhbXBsZS5uZXQwHQYDVR0OBBYEFKH6gfcc/hmScdAA5U3xmGuzIEYXMAoGCCqGSM49BAMCA0gAMEUCIA26yAppOs2vEvmR"
    "lxLK7EL2wk324D+uRO/iTmTTlrxRAiEAvm/WJ1Yu9DMjVDhYnvi7lucOl99L3J01KNMml3qev7IxAA==";

// openssl cms -encrypt -binary -aes-128-cbc
inline constexpr std::string_view kEnveloped =
    "MIIBSgYJKoZIhvcNAQcDoIIBOzCCATcCAQIxgcOhgcACAQOgUaFPMAkGByqGSM49AgEDQgAE64GfH3W1lZbspJwCpZLQCWgy"
    "DV9qd61uj+Fr0zsJLF2fD5+YrKoATekfYtDcP9TVoa0Fv7jwDKiKp7zqPLJkGzAYBgkrgQUQhkg/AAIwCwYJYIZIAWUDBAEF"
    "ME4wTDAwMBgxFjAUBgNVBAMMDVpvw6sgQmVpc3BpZWwCFC0+fOYTrF4OBL9enjG0q0Jof4VqBBit73G8KD51rgAdY5gYigJe"
    "3JszA5JgaAYwbAYJKoZIhvcNAQcBMB0GCWCGSAFlAwQBAgQQhO97vAferuDHuBSHtt/PrIBAt6uoWNZ5ebwLuRbzF8zMUU9i"
    "vgv640xh4OqI0ADRYAxvNarsxWfCIFl3QNoWnmGmYOhGko+XZTxkKxPQhkRpwA==";

// The same with -aes-128-gcm
inline constexpr std::string_view kAuthEnveloped =
    "MIIBWQYLKoZIhvcNAQkQARegggFIMIIBRAIBADGBw6GBwAIBA6BRoU8wCQYHKoZIzj0CAQNCAASRdzYq+v3xyKTFKgyWxBt2"
    "Gon9iPoqsa0byQBvLwdfVQkS9T1j24h/i6UZoEw5iZf0ThaUFGKlV707hxFIw9aGMBgGCSuBBRCGSD8AAjALBglghkgBZQME"
    "AQUwTjBMMDAwGDEWMBQGA1UEAwwNWm/DqyBCZWlzcGllbAIULT585hOsXg4Ev16eMbSrQmh/hWoEGHTdG1LDBgxUPrcEkxp4"
    "G5sLYl3eZO5w7TBnBgkqhkiG9w0BBwEwHgYJYIZIAWUDBAEGMBEEDBAH19mdFGzs9lZEDQIBEIA6YCB0n1u/P+IRjzPuXepi"
    "2uX1PJad+CekSNohIT7XG7XsFZJJP85zXKFcFuhXTccWY/iobLTMCizsvAQQ41nfQowEoAGhbF8RRVzjmQ==";

}  // namespace emltool::smime_messages
