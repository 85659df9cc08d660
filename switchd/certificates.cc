// The program openssl makes and checks them. The keys are of elliptic curves. A certificate that has expired, or that
// the authority did not sign, is made again.
#include "switchd/certificates.h"

#include <unistd.h>

#include "nats/objects.h"
#include "switchd/signals.h"

namespace switchd {
namespace {

constexpr char kAuthority[] = "ca", kServer[] = "server", kOptions[] = "openssl.cnf", kDays[] = "3650";

bool is_number_address(const std::string &host) {
    return host.find(':') != std::string::npos || host.find_first_not_of("0123456789.") == std::string::npos;
}

std::string names_of(const std::vector<std::string> &hosts) {
    std::string names;
    for (const std::string &host : hosts)
        names.append(names.empty() ? "" : ",").append(is_number_address(host) ? "IP:" : "DNS:").append(host);
    return names;
}

std::string options_for(const std::vector<std::string> &hosts) {
    return "[req]\ndistinguished_name = name\nprompt = no\n[name]\nCN = unused\n"
           "[ca]\nbasicConstraints = critical, CA:TRUE\nkeyUsage = critical, keyCertSign, cRLSign\n"
           "subjectKeyIdentifier = hash\n"
           "[server]\nbasicConstraints = critical, CA:FALSE\nextendedKeyUsage = serverAuth\nsubjectAltName = " +
           names_of(hosts) + "\n[client]\nbasicConstraints = critical, CA:FALSE\nextendedKeyUsage = clientAuth\n";
}

class Maker {
  public:
    Maker(const Folder &folder, std::string openssl, const std::vector<std::string> &hosts)
        : folder_(folder), openssl_(std::move(openssl)), hosts_(hosts) {
        folder_.write(kOptions, options_for(hosts));
    }
    ~Maker() { folder_.remove(kOptions); }
    Maker(const Maker &) = delete;
    Maker &operator=(const Maker &) = delete;

    void provide_authority() const {
        if (!folder_.has("ca.pem")) make(kAuthority, "ca", {});
        if (access(certificate_of(kAuthority).c_str(), R_OK) != 0)
            throw nats::Error("cannot read the certificate " + certificate_of(kAuthority));
    }

    void provide(const std::string &name, const std::string &kind) const {
        const std::string fault = fault_of(name);
        if (fault.empty()) return;
        if (!folder_.has("ca.key"))
            throw nats::Error("TLS is not complete: " + certificate_of(name) + ": " + fault + "; put " + name +
                              ".pem and " + name + ".key there, or ca.key, with which they are made");
        make(name, kind, {"-CA", certificate_of(kAuthority), "-CAkey", key_of(kAuthority)});
    }

  private:
    std::string certificate_of(const std::string &name) const { return folder_.path_of(name + ".pem"); }
    std::string key_of(const std::string &name) const { return folder_.path_of(name + ".key"); }

    // A signal ends it between two runs, so that no file is left half written.
    static bool run(const std::vector<std::string> &words, std::string &output) {
        throw_if_ended();
        return switchd::run(words, output);
    }

    // Empty: nothing is wrong.
    std::string fault_of(const std::string &name) const {
        if (!folder_.has(name + ".pem")) return "there is no such certificate";
        if (access(certificate_of(name).c_str(), R_OK) != 0) return "it cannot be read";
        if (access(key_of(name).c_str(), R_OK) != 0) return "its key cannot be read";
        std::string output;
        if (!run({openssl_, "verify", "-CAfile", certificate_of(kAuthority), certificate_of(name)}, output))
            return "it has expired, or ca.pem did not sign it";
        return name == kServer ? fault_of_hosts() : "";
    }

    std::string fault_of_hosts() const {
        for (const std::string &host : hosts_) {
            std::string output;
            const bool is_read = run({openssl_, "x509", "-noout", "-in", certificate_of(kServer),
                                      is_number_address(host) ? "-checkip" : "-checkhost", host},
                                     output);
            if (!is_read || output.find("does match") == std::string::npos) return "it is not for " + host;
        }
        return "";
    }

    void make(const std::string &name, const std::string &kind, const std::vector<std::string> &signer) const {
        std::vector<std::string> words = {openssl_,
                                          "req",
                                          "-x509",
                                          "-newkey",
                                          "ec",
                                          "-pkeyopt",
                                          "ec_paramgen_curve:prime256v1",
                                          "-nodes",
                                          "-config",
                                          folder_.path_of(kOptions),
                                          "-extensions",
                                          kind,
                                          "-subj",
                                          "/CN=" + name,
                                          "-days",
                                          kDays,
                                          "-keyout",
                                          key_of(name),
                                          "-out",
                                          certificate_of(name)};
        words.insert(words.end(), signer.begin(), signer.end());
        std::string output;
        if (!run(words, output))
            throw nats::Error("cannot make the certificate " + certificate_of(name) + ": " + output);
    }

    const Folder &folder_;
    std::string openssl_;
    const std::vector<std::string> &hosts_;
};

} // namespace

void provide_certificates(const Folder &folder, const std::vector<std::string> &hosts,
                          const std::vector<std::string> &users) {
    const auto openssl = find_program("openssl");
    if (!openssl)
        throw nats::Error(
            "another address than the loopback needs TLS, and the program openssl is missing: install the "
            "package openssl, or listen on 127.0.0.1");
    const Maker maker(folder, *openssl, hosts);
    maker.provide_authority();
    maker.provide(kServer, "server");
    for (const std::string &user : users)
        maker.provide(user, "client");
}

} // namespace switchd
