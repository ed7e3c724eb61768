// Placeholder: filled in by the arrangement work.
