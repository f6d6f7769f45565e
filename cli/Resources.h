// The resource documents a subcommand stands on, checked before it scans anything: a document that
// cannot be loaded is bad input, one line on stderr and exit code 2, rather than a scan that
// quietly knows nothing.
#pragma once

namespace tidewell {

// The rule document and the public suffix list, which every scan of applications uses.
void requireApplicationResources();
// The public suffix list and the vendor and group documents.
void requireOrganisationResources();

} // namespace tidewell
