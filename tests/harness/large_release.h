#pragma once

class RELEASE_BUILDER;

/// Adds 200 components in 20 groups, most of them with long titles, and after-install actions. No
/// component has content that could be downloaded.
void add_many_components(RELEASE_BUILDER& builder);
