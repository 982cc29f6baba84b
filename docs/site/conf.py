"""How Sphinx makes the site of the pages that scripts/docs gathered."""

project = "QxUtils"
author = project
extensions = ["myst_parser", "sphinx.ext.graphviz"]
myst_heading_anchors = 3
myst_enable_extensions = ["colon_fence", "deflist"]
templates_path = ["templates"]
graphviz_output_format = "svg"
highlight_language = "none"
smartquotes = False

# Names of the standards, of NumPy and of Python's typing are nobody's page here.
nitpicky = True
nitpick_ignore_regex = [
    ("cpp:identifier", r"std(::.*)?|unsigned|QXUTILS_API"),
    ("c:identifier", r"u?int\d+_t"),
    ("py:class", r"(?!qxutils\.).*"),
]

html_theme = "furo"
html_title = project
html_static_path = ["static", "/usr/share/javascript/normalize.css/normalize.css"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_sphinx = False
# Summaries would be read from the pages' files, which a browser refuses without a server.
html_show_search_summary = False
html_theme_options = {
    "light_css_variables": {"color-brand-primary": "#1f5f8b", "color-brand-content": "#1f5f8b"},
    "dark_css_variables": {"color-brand-primary": "#7db8de", "color-brand-content": "#7db8de"},
}
